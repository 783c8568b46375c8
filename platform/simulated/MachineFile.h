// Reads a machine file into plain records.
#pragma once

#include "platform/HostSystem.h"
#include "platform/Machine.h"
#include "platform/simulated/DriveCall.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Platform
{

/// One entry of "disks".
struct DiskRecord
{
    std::optional<std::uint64_t> bytes;
    std::optional<Sector> identify;
    std::optional<Sector> smart;
    std::vector<ZKTX::CSystemPartition> partitions;
    PerDriveCall<bool> fails = {};
    PerDriveCall<std::uint32_t> delay = {}; ///< milliseconds
};

/// A machine file's content.
struct MachineRecord
{
    std::unordered_map<std::string, std::string> modules; ///< version by service, in lower case
    std::shared_ptr<const DeviceTree> tree;
    std::unordered_map<std::string, DWORD> interfaces; ///< disk number by path, in lower case
    /// By number. Null for a disk that the tree names and that "disks" does not.
    std::unordered_map<DWORD, std::shared_ptr<const DiskRecord>> disks;
};

/// Reads a machine from JSON text.
/// @param name    what the message calls the text
/// @param folder  where relative paths start
/// @param files   the page files that were looked at are appended, on failure too
/// @param message on failure one line "name: place: what is wrong; what to do"
/// @return null on failure
/// @throws std::bad_alloc without memory or descriptors
std::shared_ptr<MachineRecord> ParseMachine(const std::string& text, const std::string& name,
                                            const std::string& folder,
                                            std::vector<WatchedFile>& files, std::string& message);

/// As ParseMachine, for a file. The file itself stands first among the files.
std::shared_ptr<MachineRecord> ReadMachine(const std::string& path, std::vector<WatchedFile>& files,
                                           std::string& message);

} // namespace Platform
