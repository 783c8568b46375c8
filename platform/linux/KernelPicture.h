// The disks of this computer and the controllers that they hang on, as sysfs shows them.
#pragma once

#include "platform/Machine.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/SystemFiles.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Platform
{

struct KernelPartition
{
    std::string name;   ///< such as "sda1"
    std::string device; ///< "major:minor"
    std::int32_t index = 0;
    std::uint64_t start = 0; ///< bytes from the beginning of the disk
    std::uint64_t bytes = 0;
    bool isReadOnly = false;

    bool operator==(const KernelPartition&) const = default;
};

/// What takes commands to a disk without its device file.
struct GenericDevice
{
    std::string name;        ///< below /dev/bsg; empty: there is none
    std::string device;      ///< "major:minor"
    mutable std::mutex lock; ///< for who opens it
    mutable FileDescriptor file;
    mutable std::atomic<bool> isSettled = false; ///< open, or forbidden: the file stands
};

struct KernelDisk
{
    KernelPartition whole; ///< index 0
    std::string folder;    ///< in sysfs
    /// The number that the kernel gave this disk when it came, and gives no other; empty before
    /// Linux 5.15.
    std::string sequence;
    std::string identity; ///< the sequence, or else the name that the disk gives itself
    bool isAta = false;
    std::vector<KernelPartition> partitions; ///< by index
    /// Of its power management, kept open; only for a disk below an AHCI controller that the kernel
    /// may suspend ("auto").
    FileDescriptor runtimeStatus;
    GenericDevice generic; ///< only below an AHCI controller, too
    /// Its power mode as it was told last.
    mutable std::atomic<bool> isAsleep = false;

    /// Whether the kernel itself has put the disk to sleep. A command would wake it.
    bool IsSuspended() const;

    /// Whether the kernel tells nothing new of what was this disk before.
    bool IsUnchanged(const KernelDisk& before) const;
};

struct KernelPicture
{
    std::shared_ptr<const DeviceTree> tree;
    std::map<std::string, DWORD> interfaces; ///< by path in lower case
    std::map<DWORD, std::shared_ptr<const KernelDisk>> disks;
};

/// Reads everything afresh. PCI functions are nodes below the functions that they hang on, their
/// service the name of their driver, "storahci" for the kernel's ahci. SCSI disks are nodes of the
/// service "disk" below their controller, or below the root when they have none.
/// What vanishes while it is read, cannot be read or makes no sense is left out, and nothing else.
PLATFORM_API KernelPicture ReadKernelPicture(const SystemFolders& folders);

/// The driver name of Linux that stands for a service; the service itself if there is no other.
std::string DriverOfService(const std::string& service);

} // namespace Platform
