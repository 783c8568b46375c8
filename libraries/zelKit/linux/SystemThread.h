// Threads and sleeps that can be cancelled, as POSIX has them.
#pragma once

#include "libraries/zelKit/Clock.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace ZKT::Internals
{

/// Where one thread sleeps under a lock until it is woken. It can be cancelled there, and unwinds
/// with the lock held.
class SleepingPlace
{
  public:
    /// With the lock held.
    void Wake() { m_Changed.notify_one(); }
    /// May end early for no reason.
    void Sleep(std::unique_lock<std::mutex>& lock, SteadyTime until)
    {
        m_Changed.wait_until(lock, until);
    }

  private:
    std::condition_variable m_Changed;
};

/// A thread that can be cancelled.
class SystemThread
{
  public:
    /// Starts the thread with all signals blocked in it. @throws std::system_error
    void Start(std::function<void()> body);
    void Cancel() { pthread_cancel(m_Thread.native_handle()); }
    bool IsCurrent() const { return m_Thread.get_id() == std::this_thread::get_id(); }
    void Join() { m_Thread.join(); }
    void Detach() { m_Thread.detach(); }

  private:
    std::thread m_Thread;
};

/// Ends the calling thread here if it was cancelled.
inline void PassCancellation()
{
    pthread_testcancel();
}

/// Puts the cancellation of the calling thread off. @return how it was before
int ShieldThread();
void UnshieldThread(int before);

} // namespace ZKT::Internals
