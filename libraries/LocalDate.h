// The local date of a moment, as the system tells it; linux/ and windows/ hold the ways.
#pragma once

#include <cstdint>
#include <ctime>

/// @param milliseconds  since 1970-01-01 00:00 UTC
/// @return false for a moment that the system has no date for
bool LocalDate(std::uint64_t milliseconds, std::tm& date);
