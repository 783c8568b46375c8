// How the end of a drive's life reads.
#pragma once

#include <string>

namespace Host
{

inline constexpr const char* farOff = "over 10 years";

/// Whether a date is more than ten years ahead: an estimate of so many years is no date.
bool IsFarOff(const std::string& date);

} // namespace Host
