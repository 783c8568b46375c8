// A machine: its device tree and its disks. The simulated machine and the real ones are siblings
// behind this interface; WindowsApi.h gives it the shape of the Windows calls.
//
// Results are Windows error codes (ERROR_SUCCESS is 0). Where there is no room for a code, a lack
// of memory or descriptors is thrown (Shortage.h); elsewhere it is a code that IsShortage knows, or
// thrown. It is never taken for an answer. All calls are safe from any thread.
#pragma once

#include "contracts/Export.h"
#include "contracts/zelKitEx/PartitionTable.h"
#include "platform/WindowsTypes.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Platform
{

/// One node of a device tree.
struct DeviceNode
{
    static constexpr std::size_t None = static_cast<std::size_t>(-1);

    std::string id;                          ///< device instance id, unique in the tree
    std::string service;                     ///< service name, empty for none
    std::vector<std::string> diskInterfaces; ///< paths of the disk interfaces of this device
    std::size_t parent = None;               ///< positions in the tree
    std::size_t firstChild = None;
    std::size_t nextSibling = None;

    bool operator==(const DeviceNode&) const = default;
};

/// A picture of the device tree. The root stands first.
using DeviceTree = std::vector<DeviceNode>;

using Sector = std::array<std::uint8_t, SectorBytes>;

/// A disk that has been opened. Lives on when the disk goes; its calls then fail.
class Device
{
  public:
    virtual ~Device() = default;
    virtual DWORD DiskNumber(DWORD& number) = 0;
    /// Whether the disk takes SMART commands.
    virtual DWORD SmartVersion() = 0;
    /// ATA IDENTIFY DEVICE.
    virtual DWORD Identify(Sector& page) = 0;
    /// ATA SMART READ DATA.
    virtual DWORD SmartData(Sector& page) = 0;
    /// Length in bytes.
    virtual DWORD Length(std::uint64_t& bytes) = 0;
};

class Machine
{
  public:
    virtual ~Machine() = default;

    /// A fresh picture of the device tree, or null when there is none.
    virtual std::shared_ptr<const DeviceTree> ReadDeviceTree() = 0;

    /// Opens a disk by the path of one of its interfaces, or by its number as
    /// "\\.\PhysicalDrive%d".
    /// @param writable  whether the handle is asked for reading and writing
    virtual DWORD OpenDevice(const std::string& path, bool writable,
                             std::unique_ptr<Device>& device) = 0;

    /// Version text of a driver by its service name, ignoring letter case; false when unknown.
    virtual bool ModuleVersion(const std::string& service, std::string& version) = 0;

    /// The partitions of a disk, appended; false when the disk cannot be asked.
    virtual bool Partitions(DWORD diskNumber, std::vector<ZKTX::CSystemPartition>& partitions) = 0;

    /// Number of the disk behind one of its interfaces, without a question to the disk. Nothing
    /// when the machine does not know it.
    virtual std::optional<DWORD> NumberOfInterface(const std::string& /*path*/)
    {
        return std::nullopt;
    }

    /// The system's own name of a disk, such as "sda"; empty where disks have numbers alone.
    virtual std::string DiskName(DWORD /*number*/) { return {}; }

    /// Which right kept disks from being opened or asked when that was last tried: one line of what
    /// is missing for which disks, and what to do. Empty when none did.
    virtual std::string MissingRight() { return {}; }
};

/// Parses "\\.\PhysicalDrive%d"; false for any other text.
PLATFORM_API bool DiskNumberOfPath(const std::string& path, DWORD& number);

/// The computer itself: linux/ and windows/ have one each.
PLATFORM_API std::shared_ptr<Machine> ThisComputer();

/// The machine of this process. The first call makes it: the simulated machine of the file
/// TARNIS_MACHINE when that is set, else the computer itself. A machine that cannot be had is told
/// once on standard error and replaced by one without devices.
PLATFORM_API Machine& CurrentMachine();

/// As CurrentMachine, but hands the complaint to the caller in place of standard error. Later calls
/// give the first call's answer.
/// @return false with one line of what, where and what to do
PLATFORM_API bool OpenCurrentMachine(std::string& message);

/// Puts a machine in the place of the current one, for whoever brings a machine of its own. Null:
/// the next use makes it anew from the environment. Not to be called while a plug-in uses it.
PLATFORM_API void SetCurrentMachine(std::shared_ptr<Machine> machine);

} // namespace Platform
