// The settings that a person writes into the settings files: where each stands, which values make
// sense, and what holds without it. A plug-in reads them by these, and a host tells of wrong ones.
#pragma once

#include <cstdint>
#include <limits>

namespace Vocabulary
{

struct NumberSetting
{
    const char* file;
    const char* key;
    const char* unit;
    std::uint32_t preset;  ///< in effect without the key, and for a text that is no number
    std::uint32_t minimum; ///< of the numbers that make sense
    std::uint32_t maximum;
    bool isLimited; ///< any other number counts as the nearest of these; else it is taken as it is
};

/// Hour and minute as "hour:minute".
struct TimeSetting
{
    const char* file;
    const char* key;
    std::uint32_t presetHour; ///< in effect, with minute 0, without the key
};

inline constexpr const char* pluginSettings = "tarnis.ini";
inline constexpr const char* customSettings = "CustomOpts.ini";

inline constexpr NumberSetting pollInterval{
    pluginSettings, "PollInterval", "seconds", 30, 2, 255, true};
/// Without the key it is the poll interval in effect.
inline constexpr NumberSetting pollIntervalVDS{pluginSettings,
                                               "PollInterval_VDS",
                                               "seconds",
                                               pollInterval.preset,
                                               0,
                                               std::numeric_limits<std::uint32_t>::max(),
                                               false};
inline constexpr NumberSetting wearLevelThreshold{
    customSettings, "WearLevelThreshold", "percent", 95, 0, 100, false};
inline constexpr NumberSetting reservedCellsThreshold{
    customSettings, "ReservedCellsThreshold", "percent", 10, 0, 100, false};
inline constexpr NumberSetting averageUsageThreshold{
    customSettings, "AverageUsageThreshold", "percent", 60, 0, 100, false};

inline constexpr TimeSetting snmpTrapReportTime1{customSettings, "SnmpTrapReportTime1", 11};
inline constexpr TimeSetting snmpTrapReportTime2{customSettings, "SnmpTrapReportTime2", 23};

inline constexpr const NumberSetting* numberSettings[] = {
    &pollInterval, &pollIntervalVDS, &wearLevelThreshold, &reservedCellsThreshold,
    &averageUsageThreshold};
inline constexpr const TimeSetting* timeSettings[] = {&snmpTrapReportTime1, &snmpTrapReportTime2};

} // namespace Vocabulary
