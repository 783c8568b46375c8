#pragma once

#include <cstdint>
#include <string>

namespace NAMESPACE_tarnis
{

/// The date, such as "2031-05-09", at which a drive is used up: now plus the hours that are left,
/// in local time. The end of the calendar where the sum would not fit.
std::string EndOfLifeDate(std::uint64_t remainingHours);

} // namespace NAMESPACE_tarnis
