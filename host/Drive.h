// One disk as this host sees it: what the plug-in says of it, and what the machine knows besides.
#pragma once

#include "contracts/zelKitEx/Disks.h"
#include "contracts/zelPlug/SmartValues.h"
#include "host/ErrorCounts.h"
#include "host/Topology.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

/// Texts of the drive stand here as it gives them: Printable() belongs between them and a terminal.
struct Drive
{
    std::optional<std::uint32_t> number;
    std::string label;      ///< "disk7"; the path of its interface when it has no number
    std::string systemName; ///< "sda"; empty where disks have numbers alone

    /// Why it is none of the plug-in's drives; empty when it is one. All below is unknown then.
    std::string silence;
    bool mayBeWell = false; ///< it is silent for want of a right, or since it is no ATA disk

    const PI::CObject* object = nullptr; ///< of the objects that the drive was made from
    std::string model;                   ///< vendor and product
    std::string serial;
    std::string firmware;
    int status = 0; ///< VAL_...
    bool isSsd = false;

    std::optional<float> temperature; ///< degrees Celsius
    std::optional<std::uint64_t> hours;
    std::optional<int> used;    ///< rated endurance, percent
    std::optional<int> reserve; ///< left, percent
    std::string lastsUntil;     ///< a date; empty: not known

    std::optional<std::uint64_t> bytes;        ///< exact size
    std::optional<std::uint64_t> bytesWritten; ///< exact
    std::uint64_t ratedTerabytes = 0;          ///< that may be written, 10^12 bytes; 0: not known
    bool hasPage = false;                      ///< its last SMART page is explained here:
    PI::CSmartExplanation smart;
    std::uint64_t pageAge = 0; ///< milliseconds

    ErrorCounts errors; ///< of a hard disk

    /// Another drive by whose page this one may be judged: their numbers are 256 apart.
    std::string sharesPageWith;

    bool IsAnswering() const { return silence.empty(); }
    /// Nothing where more was written than a number holds.
    std::optional<std::uint64_t> ExactBytesWritten() const;
};

/// The drives by number, those without one first.
/// @param objects  outlive the drives
/// @param disks    the machine's, as CSystemDisks tells them
std::vector<Drive> DrivesOf(const Objects& objects, const std::vector<ZKTX::CSystemDisk>& disks);

/// The attribute of that id in the drive's page, or null.
const PI::CSmartAttribute* FindAttribute(const Drive& drive, std::uint8_t id);

/// Percent of the reserve that the attribute leaves; nothing when it is no part of it.
std::optional<std::uint32_t> MarginOf(const PI::CSmartAttribute& attribute);

/// "disk7 (sda)", "disk7"
std::string NameOf(const Drive& drive);

} // namespace Host
