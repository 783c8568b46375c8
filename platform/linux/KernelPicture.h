// The disks of this computer and the controllers that they hang on, as sysfs shows them.
#pragma once

#include "platform/Machine.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/SystemFiles.h"

#include <cstdint>
#include <map>
#include <memory>
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

struct KernelDisk
{
    KernelPartition whole; ///< index 0
    std::string folder;    ///< in sysfs
    /// Which disk this is: no other disk has it while the computer runs. Empty where the kernel
    /// does not tell.
    std::string identity;
    bool isAta = false;
    std::vector<KernelPartition> partitions; ///< by index
    FileDescriptor runtimeStatus;            ///< of its power management, kept open

    /// Whether the kernel itself has put the disk to sleep. Opening the disk would wake it.
    bool IsSuspended() const;
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
KernelPicture ReadKernelPicture(const SystemFolders& folders);

/// The driver name of Linux that stands for a service; the service itself if there is no other.
std::string DriverOfService(const std::string& service);

} // namespace Platform
