// What stands on a disk: its partition table and its file systems, by libblkid.
//
// Reads from the disk, and so wakes a sleeping one. To be called under a CancellationPause.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Platform
{

/// An entry of a partition table.
struct TableEntry
{
    std::int32_t index = 0;
    std::string type; ///< a GUID, or a number such as "0x83"
    std::string uuid;
};

struct TableFacts
{
    bool isThere = false; ///< the disk has a partition table, if only an empty one
    std::vector<TableEntry> entries;
};

struct ContentFacts
{
    std::string fileSystem; ///< such as "ext4"; empty where nothing is known, or more than one
    std::string label;
};

/// @param descriptor  a whole disk, open for reading
TableFacts ProbeTable(int descriptor);

/// @param descriptor  a partition, or a whole disk without a table, open for reading
ContentFacts ProbeContent(int descriptor);

} // namespace Platform
