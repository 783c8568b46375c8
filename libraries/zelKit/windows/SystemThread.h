// Threads and sleeps that can be cancelled, on Windows.
#pragma once

#include "libraries/zelKit/Clock.h"

#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace ZKT::Internals
{

/// What a cancelled thread unwinds by. Nobody but the thread's first frame catches it.
struct ThreadCancelled
{
};

/// An event of Windows that stays set. @throws std::system_error when there is none to be had
class EventHandle
{
  public:
    EventHandle();
    ~EventHandle();
    EventHandle(const EventHandle&) = delete;
    EventHandle& operator=(const EventHandle&) = delete;

    void* Get() const { return m_Handle; }
    void Set() const;

  private:
    void* m_Handle;
};

/// Where one thread sleeps under a lock until it is woken. It can be cancelled there, and unwinds
/// with the lock held.
class SleepingPlace
{
  public:
    /// With the lock held.
    void Wake();
    /// May end early for no reason.
    void Sleep(std::unique_lock<std::mutex>& lock, SteadyTime until);

  private:
    void* m_Event = nullptr; ///< what the thread sleeps by, while it does
};

struct Cancellation;

/// A thread that can be cancelled.
class SystemThread
{
  public:
    /// @throws std::system_error
    void Start(std::function<void()> body);
    void Cancel();
    bool IsCurrent() const { return m_Thread.get_id() == std::this_thread::get_id(); }
    void Join() { m_Thread.join(); }
    void Detach() { m_Thread.detach(); }

  private:
    std::thread m_Thread;
    std::shared_ptr<Cancellation> m_Cancellation;
};

/// Ends the calling thread here if it was cancelled.
void PassCancellation();

/// Puts the cancellation of the calling thread off. @return how it was before
int ShieldThread();
void UnshieldThread(int before);

} // namespace ZKT::Internals
