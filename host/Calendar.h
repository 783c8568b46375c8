// Times of the clock as dates; linux/ and windows/ hold the ways.
#pragma once

#include <ctime>

namespace Host
{

/// In universal time.
std::tm UniversalDate(std::time_t time);

/// In the time zone of this user.
std::tm LocalDate(std::time_t time);

} // namespace Host
