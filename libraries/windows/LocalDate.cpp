#include "libraries/LocalDate.h"

#include <windows.h>

namespace
{

constexpr int FirstYearOfTm = 1900;

int DayOfYear(const SYSTEMTIME& time)
{
    constexpr int DaysBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const int year = time.wYear;
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return DaysBefore[time.wMonth - 1] + time.wDay - 1 + (isLeap && time.wMonth > 2 ? 1 : 0);
}

} // namespace

// Not by the C library, whose dates end with the year 3000.
bool LocalDate(std::uint64_t milliseconds, std::tm& date)
{
    constexpr std::uint64_t TicksPerMillisecond = 10'000;
    constexpr std::uint64_t TicksUntil1970 = 116'444'736'000'000'000;
    constexpr std::uint64_t Latest = INT64_MAX;
    if (milliseconds > (Latest - TicksUntil1970) / TicksPerMillisecond)
        return false;
    const std::uint64_t ticks = milliseconds * TicksPerMillisecond + TicksUntil1970;
    const FILETIME fileTime = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    SYSTEMTIME universal = {};
    SYSTEMTIME local = {};
    if (FileTimeToSystemTime(&fileTime, &universal) == 0 ||
        SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local) == 0)
        return false;
    date = {};
    date.tm_year = local.wYear - FirstYearOfTm;
    date.tm_mon = local.wMonth - 1;
    date.tm_mday = local.wDay;
    date.tm_wday = local.wDayOfWeek;
    date.tm_yday = DayOfYear(local);
    date.tm_hour = local.wHour;
    date.tm_min = local.wMinute;
    date.tm_sec = local.wSecond;
    return true;
}
