#pragma once

#include "contracts/Export.h"
#include "vocabulary/Settings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace PI
{

/// Hour and minute of a report time, in local time.
struct CTimeOfDay
{
    std::uint32_t hour;   ///< 0 to 23
    std::uint32_t minute; ///< 0 to 59
};

/// What the text behind a key puts in effect: its number, or the setting's preset when it is no
/// number. A number is decimal and fills the whole text; leading blanks are skipped, and a sign is
/// taken, so that -1 counts as 4294967295. The setting says whether bounds apply.
ZELPLUG_API std::uint32_t NumberInEffect(const Vocabulary::NumberSetting& setting,
                                         const std::string& text);

/// The same for a time of day: numbers as above, limited to 23 and 59. An hour that is no number is
/// the preset, such a minute 0. A text without a colon serves as both.
ZELPLUG_API CTimeOfDay TimeInEffect(const Vocabulary::TimeSetting& setting,
                                    const std::string& text);

/// Reads all settings and tells of those whose text is none of the values that make sense.
/// @return for each: file, key, text, what it should be and what is in effect, in one line
ZELPLUG_API std::vector<std::string> FindWrongSettings();

} // namespace PI
