// Reading of settings. A missing key and a text that does not convert are never an error.
#pragma once

#include "contracts/zelKitEx.h"
#include "contracts/zelPlug.h"

#include <cstdint>

namespace NAMESPACE_tarnis
{

/// Bounds of the poll interval, in seconds.
inline constexpr std::uint32_t DefaultPollInterval = Vocabulary::pollInterval.preset;
inline constexpr std::uint32_t MinimumPollInterval = Vocabulary::pollInterval.minimum;
inline constexpr std::uint32_t MaximumPollInterval = Vocabulary::pollInterval.maximum;

/// The number in effect; `missing` without the key.
std::uint32_t ReadNumber(const PI::CConfigFile& file, const Vocabulary::NumberSetting& setting,
                         std::uint32_t missing);

/// The time of day in effect, with second 0; the full hour of the preset without the key.
ZKTX::CSystemDate_Win ReadTimeOfDay(const PI::CConfigFile& file,
                                    const Vocabulary::TimeSetting& setting);

} // namespace NAMESPACE_tarnis
