// What a thread and those who stop it or wait for it share.
#pragma once

#include "libraries/zelKit/SystemThread.h"

#include <atomic>
#include <thread>

namespace ZKT::Internals
{

struct ThreadState
{
    SystemMutex mutex;
    SystemCondition hasEnded;
    bool ended = false;
    std::atomic<bool> stopRequested = false; ///< never taken back
    ThreadCalls calls;
    std::thread thread;
    const void* code = nullptr; ///< in the library that the target lies in
};

/// The calling thread's own; null in a thread that no CThread started.
extern thread_local ThreadState* t_Thread;

} // namespace ZKT::Internals
