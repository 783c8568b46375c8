#include "contracts/zelKitEx/SystemTime.h"

#include "libraries/LocalDate.h"

namespace ZKTX
{
namespace
{

constexpr CSystemDate_Win lastSecond = {9999, 12, 31, 5, 365, 23, 59, 59};

} // namespace

void CSystemTime_Win::GetDate(std::uint64_t milliseconds, CSystemDate_Win& date)
{
    std::tm local{};
    if (!LocalDate(milliseconds, local) || local.tm_year > 9999 - 1900)
    {
        date = lastSecond;
        return;
    }
    date.m_Year = static_cast<std::uint32_t>(local.tm_year + 1900);
    date.m_Month = static_cast<std::uint32_t>(local.tm_mon + 1);
    date.m_Day = static_cast<std::uint32_t>(local.tm_mday);
    date.m_DayOfWeek = static_cast<std::uint32_t>(local.tm_wday);
    date.m_DayOfYear = static_cast<std::uint32_t>(local.tm_yday + 1);
    date.m_Hour = static_cast<std::uint32_t>(local.tm_hour);
    date.m_Minute = static_cast<std::uint32_t>(local.tm_min);
    date.m_Second = static_cast<std::uint32_t>(local.tm_sec);
}

} // namespace ZKTX
