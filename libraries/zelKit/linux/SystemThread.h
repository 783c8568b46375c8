// Locks and conditions as POSIX has them.
#pragma once

#include "libraries/zelKit/Clock.h"

#include <condition_variable>
#include <mutex>

namespace ZKT::Internals
{

using SystemMutex = std::mutex;

/// Where threads sleep under a lock until they are woken. Needs no memory.
class SystemCondition
{
  public:
    void WakeOne() { m_Condition.notify_one(); }
    void WakeAll() { m_Condition.notify_all(); }
    /// May end early for no reason.
    void Sleep(std::unique_lock<SystemMutex>& lock, SteadyTime until)
    {
        m_Condition.wait_until(lock, until);
    }

  private:
    std::condition_variable m_Condition;
};

/// The call into the system that a thread is in. A call on Linux cannot be broken off from outside
/// without a signal, which is the host's to use.
class ThreadCalls
{
  public:
    void BreakOff() {}
};

} // namespace ZKT::Internals
