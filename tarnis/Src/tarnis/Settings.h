// Reading of settings. A missing key and a text that does not convert are never an error.
#pragma once

#include "contracts/zelKitEx.h"
#include "contracts/zelPlug.h"

#include <cstdint>
#include <optional>
#include <string>

namespace NAMESPACE_tarnis
{

/// Bounds of the poll interval, in seconds.
inline constexpr std::uint32_t DefaultPollInterval = 30;
inline constexpr std::uint32_t MinimumPollInterval = 2;
inline constexpr std::uint32_t MaximumPollInterval = 255;

/// A decimal number that fills the whole text. Leading blanks are skipped; anything behind the
/// number fails.
std::optional<std::uint32_t> ParseNumber(const std::string& text);

/// Hour and minute of "hour:minute", limited to 23 and 59; the second is 0. An hour that does not
/// convert is `defaultHour`, a minute that does not convert 0. A text without a colon serves as
/// both.
ZKTX::CSystemDate_Win ParseTimeOfDay(const std::string& text, std::uint32_t defaultHour);

/// Value of a key, or nothing when the file has no such key.
std::optional<std::string> ReadText(const PI::CConfigFile& file, const char* key);

/// Number of a key; `missing` without the key, `invalid` for a text that is no number.
std::uint32_t ReadNumber(const PI::CConfigFile& file, const char* key, std::uint32_t missing,
                         std::uint32_t invalid);

/// Time of day of a key; the full `defaultHour` without the key.
ZKTX::CSystemDate_Win ReadTimeOfDay(const PI::CConfigFile& file, const char* key,
                                    std::uint32_t defaultHour);

} // namespace NAMESPACE_tarnis
