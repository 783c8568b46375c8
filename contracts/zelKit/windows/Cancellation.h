// Threads that can be cancelled, on Windows, which has none: a cancelled thread finds out at
// certain points and unwinds its C++ frames by an exception that is no std::exception.
#pragma once

#include "contracts/Export.h"

#include <cstdint>
#include <functional>

namespace ZKT::Threading
{

/// Ends the calling thread here if it was cancelled.
ZELKIT_API void CancellationPoint();

/// Sleeps. The calling thread can be cancelled here.
ZELKIT_API void SleepFor(std::uint32_t milliseconds);

/// Runs a call into the system that may take long. Cancelling the thread breaks off what the call
/// waits for, as far as the driver lets it; the thread ends when the call has returned.
ZELKIT_API void RunCancellable(const std::function<void()>& call);

/// Lets the calling thread be cancelled, or puts that off. @return how it was before
ZELKIT_API bool SetCancellable(bool cancellable);

} // namespace ZKT::Threading
