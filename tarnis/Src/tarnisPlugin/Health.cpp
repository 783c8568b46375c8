#include "tarnis/Src/tarnisPlugin/Health.h"

#include <algorithm>

namespace NAMESPACE_tarnis
{
namespace
{

constexpr std::uint8_t AirflowTemperature = 190; // attribute ids
constexpr std::uint8_t Temperature = 194;

// Fixed limits of the status; the thresholds of the settings belong to the reports.
constexpr std::uint32_t WearLimit = 96;         // percent used, and above
constexpr std::uint32_t ReserveLimit = 9;       // percent left, and below
constexpr std::uint64_t LifetimeLimitDays = 60; // whole days left, below

bool IsTemperature(std::uint8_t value)
{
    return value >= 1 && value <= 127;
}

bool IsLimitReached(const CAHCIPhysicalDrive& drive)
{
    return (drive.m_RatedEndurancePercent != NoReading32 &&
            drive.m_RatedEndurancePercent >= WearLimit) ||
           drive.m_RemainingReserve <= ReserveLimit ||
           (drive.m_RemainingLifeTimeHours != NoReading64 &&
            drive.m_RemainingLifeTimeHours / 24 < LifetimeLimitDays);
}

} // namespace

std::uint8_t TemperatureOf(const PI::_IDE_SMART_DATA& page)
{
    std::uint8_t temperature = 0;
    for (const PI::_IDE_SMART_ATTRIBUTE& attribute : page.m_Attributes)
    {
        if (attribute.m_ID != AirflowTemperature && attribute.m_ID != Temperature)
            continue;
        if (IsTemperature(attribute.m_Raw[0]))
            temperature = attribute.m_Raw[0];
        else if (attribute.m_ID == Temperature && IsTemperature(attribute.m_Value))
            temperature = attribute.m_Value;
    }
    return temperature;
}

void EvaluateSmartPage(const PI::_IDE_SMART_DATA& page, PI::CSmartValues values,
                       CAHCIPhysicalDrive& drive)
{
    drive.m_Temperature = TemperatureOf(page);
    if (!values.IsSupported() || !values.Evaluate(page))
        return;
    drive.m_PowerOnHours = values.m_PowerOnHours;
    drive.m_BytesWritten = values.m_BytesWritten;
    drive.m_RemainingReserve = values.m_RemainingReserve;
    drive.m_RatedEndurancePercent = values.m_RatedEndurancePercent;
    drive.m_RemainingLifeTimeHours = NoReading64;
    PI::CPluginHelper::ComputeRemainingLifeTime(std::max<std::uint64_t>(drive.m_PowerOnHours, 1),
                                                drive.m_BytesWritten, drive.m_RatedEndurancePercent,
                                                values.m_Rating, drive.m_RemainingLifeTimeHours);
}

void ApplyHealthLimits(CAHCIPhysicalDrive& drive, CAHCIAdapter& adapter)
{
    if (IsLimitReached(drive))
        drive.m_Status = PI::VAL_AVAILABLE_SMART;
    if (adapter.m_Status == PI::VAL_OK && drive.m_Status == PI::VAL_AVAILABLE_SMART)
        adapter.m_Status = PI::VAL_WARNING;
}

} // namespace NAMESPACE_tarnis
