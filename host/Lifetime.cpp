#include "host/Lifetime.h"

#include "host/Calendar.h"

#include <cstdio>
#include <ctime>

namespace Host
{

bool IsFarOff(const std::string& date)
{
    constexpr int many = 10;
    int year = 0;
    if (std::sscanf(date.c_str(), "%4d-", &year) != 1)
        return false;
    return year - (UniversalDate(std::time(nullptr)).tm_year + 1900) > many;
}

} // namespace Host
