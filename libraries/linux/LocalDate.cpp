#include "libraries/LocalDate.h"

bool LocalDate(std::uint64_t milliseconds, std::tm& date)
{
    // localtime_r alone need not look at TZ.
    static const bool zoneIsRead = (tzset(), true);
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    return zoneIsRead && localtime_r(&seconds, &date) != nullptr;
}
