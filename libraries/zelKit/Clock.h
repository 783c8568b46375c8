// The clocks of the toolkit, and how a test moves them.
#pragma once

#include "contracts/Export.h"

#include <chrono>
#include <cstdint>

namespace ZKT::Internals
{

/// Puts another clock under ZKT::Misc::now; null: the system clock again. For tests alone.
ZELKIT_API void SetClock(std::uint64_t (*clock)());

/// Lets this much time pass at once for all waits for events and all intervals: those that have run
/// out by then end now. For tests alone.
ZELKIT_API void SkipTime(std::chrono::milliseconds time);

using SteadyTime = std::chrono::steady_clock::time_point;

/// The clock of waits for events and of intervals: steady, and ahead by all that was skipped.
SteadyTime SteadyNow();

/// When the system's steady clock will show what SteadyNow then shows as `time`, as far as is known
/// now: another skip brings it nearer.
SteadyTime SystemMoment(SteadyTime time);

} // namespace ZKT::Internals
