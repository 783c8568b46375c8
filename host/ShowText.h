// The picture for people: whether all is well first, then a table, then every property.
#pragma once

#include "host/Health.h"
#include "host/Snapshot.h"
#include "host/TableStyle.h"

#include <cstddef>
#include <string>

namespace Host
{

struct Style
{
    bool coloured;
    std::size_t columns; ///< of a line
    TableStyle table;
};

/// Whether all is well, and the drives as a table.
std::string OverviewText(const Snapshot& snapshot, const Limits& limits, const Style& style);

/// The same, and every property of every object.
std::string FullText(const Snapshot& snapshot, const Limits& limits, const Style& style);

/// One object of the snapshot in full.
std::string ObjectText(const PI::CObject& object, const Snapshot& snapshot, const Limits& limits,
                       const Style& style);

/// One drive that is no object, since it does not answer.
std::string SilentDriveText(const Drive& drive, const Snapshot& snapshot, const Limits& limits,
                            const Style& style);

/// The drives as an aligned table, a line each; empty without drives. On a narrow terminal the
/// least important columns go, which a last line tells, then models are broken into lines.
/// @throws UsageFailure for a column that there is none of
std::string DriveTable(const std::vector<Drive>& drives, const Limits& limits, const Style& style);

/// The left margin of a line, by which trouble is found without colours.
extern const char* const troubleMark;
extern const char* const noMark;

/// Colours a line, or a part of one, by the health of what it tells of.
std::string Emphasised(const std::string& text, const PI::CObject& object, const Style& style);

} // namespace Host
