// What stands on a disk: its partition table and its file systems, by libblkid.
//
// Reads from the disk, and so wakes a sleeping one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Platform
{

/// An entry of a partition table.
struct TableEntry
{
    std::int32_t index = 0;
    std::uint64_t start = 0; ///< bytes from the beginning of the disk
    std::string type;        ///< a GUID, or a number such as "0x83"
    std::string uuid;
};

struct TableFacts
{
    bool isThere = false; ///< the disk has a partition table, if only an empty one
    std::vector<TableEntry> entries;
};

struct ContentFacts
{
    bool isThere = false;   ///< something is, if only more than one thing at once
    std::string fileSystem; ///< such as "ext4"; empty where nothing is known, or more than one
    std::string label;
};

// These give nothing when the disk cannot be read, which is no word on what stands there. They
// throw Shortage when there is no memory left.

/// @param descriptor  a whole disk, open for reading
std::optional<TableFacts> ProbeTable(int descriptor);

/// @param descriptor  a partition, or a whole disk without a table, open for reading
std::optional<ContentFacts> ProbeContent(int descriptor);

} // namespace Platform
