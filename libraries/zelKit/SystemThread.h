// Locks, conditions and threads of the system; linux/ and windows/ implement them.
#pragma once

#if defined(_WIN32)
#include "libraries/zelKit/windows/SystemThread.h"
#else
#include "libraries/zelKit/linux/SystemThread.h"
#endif

#include <functional>
#include <thread>

namespace ZKT::Internals
{

/// Starts a thread with all signals blocked in it. @throws std::system_error, std::bad_alloc
std::thread StartThread(std::function<void()> body);

} // namespace ZKT::Internals
