#include "host/Calendar.h"

namespace Host
{

std::tm UniversalDate(std::time_t time)
{
    std::tm date{};
    gmtime_s(&date, &time);
    return date;
}

std::tm LocalDate(std::time_t time)
{
    std::tm date{};
    localtime_s(&date, &time);
    return date;
}

} // namespace Host
