// Locks and conditions of Windows, and calls that can be broken off.
#pragma once

#include "libraries/zelKit/Clock.h"

#include <atomic>
#include <mutex>

namespace ZKT::Internals
{

/// A slim reader/writer lock, taken for writing.
class SystemMutex
{
  public:
    SystemMutex() = default;
    SystemMutex(const SystemMutex&) = delete;
    SystemMutex& operator=(const SystemMutex&) = delete;

    void lock() noexcept;
    void unlock() noexcept;

  private:
    friend class SystemCondition;
    void* m_Lock = nullptr;
};

/// Where threads sleep under a lock until they are woken. Needs no memory. The one of the C++
/// library follows the clock that can be set.
class SystemCondition
{
  public:
    SystemCondition() = default;
    SystemCondition(const SystemCondition&) = delete;
    SystemCondition& operator=(const SystemCondition&) = delete;

    void WakeOne() noexcept;
    void WakeAll() noexcept;
    /// May end early for no reason.
    void Sleep(std::unique_lock<SystemMutex>& lock, SteadyTime until) noexcept;

  private:
    void* m_Condition = nullptr;
};

/// The call into the system that a thread is in.
class ThreadCalls
{
  public:
    /// Breaks off what the thread waits for in its call, as far as the driver allows it. Under a
    /// lock that keeps the thread from its end.
    void BreakOff() noexcept;

    /// By the thread itself, around a call.
    void Enter() noexcept;
    void Leave() noexcept { m_IsInCall = false; }

    ThreadCalls() = default;
    ~ThreadCalls();
    ThreadCalls(const ThreadCalls&) = delete;
    ThreadCalls& operator=(const ThreadCalls&) = delete;

  private:
    std::atomic<bool> m_IsInCall = false;
    std::atomic<void*> m_Thread = nullptr; ///< opened at the first call
};

} // namespace ZKT::Internals
