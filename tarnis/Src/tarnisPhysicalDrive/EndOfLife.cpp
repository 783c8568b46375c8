#include "tarnis/Src/tarnisPhysicalDrive/EndOfLife.h"

#include "contracts/zelKit.h"
#include "contracts/zelKitEx.h"

#include <cstdio>
#include <limits>

namespace NAMESPACE_tarnis
{
namespace
{

std::uint64_t EndOfLife(std::uint64_t remainingHours)
{
    constexpr std::uint64_t endOfTime = std::numeric_limits<std::uint64_t>::max();
    constexpr std::uint64_t millisecondsPerHour = 3600000;
    const std::uint64_t now = ZKT::Misc::now();
    if (remainingHours > (endOfTime - now) / millisecondsPerHour)
        return endOfTime;
    return now + remainingHours * millisecondsPerHour;
}

} // namespace

std::string EndOfLifeDate(std::uint64_t remainingHours)
{
    ZKTX::CSystemDate_Win date;
    ZKTX::CSystemTime_Win::GetDate(EndOfLife(remainingHours), date);
    char text[40]; // three numbers of ten digits
    std::snprintf(text, sizeof text, "%4u-%02u-%02u", date.m_Year, date.m_Month, date.m_Day);
    return text;
}

} // namespace NAMESPACE_tarnis
