#include "host/Calendar.h"

namespace Host
{

std::tm UniversalDate(std::time_t time)
{
    std::tm date{};
    ::gmtime_r(&time, &date);
    return date;
}

std::tm LocalDate(std::time_t time)
{
    std::tm date{};
    ::localtime_r(&time, &date);
    return date;
}

} // namespace Host
