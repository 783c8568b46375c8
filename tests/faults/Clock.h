// The clocks of a program, set ahead or made to run fast: nobody has to wait for what comes after
// minutes.
#pragma once

namespace Faults
{

/// From now on all clocks run so many times as fast, and all waits end so much sooner.
void SetClockSpeed(long speed);

} // namespace Faults
