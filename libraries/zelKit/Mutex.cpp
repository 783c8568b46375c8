#include "contracts/zelKit/Mutex.h"

#include "libraries/zelKit/Deadline.h"
#include "libraries/zelKit/SystemThread.h"

#include <boost/intrusive/list.hpp>
#include <mutex>
#include <new>

#if !defined(__clang__)
// The compiler does not see that a place leaves the queue before its function ends.
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif

namespace ZKT::Threading
{
namespace
{

/// One thread's place in the queue for a lock, on that thread's stack.
struct Place : boost::intrusive::list_base_hook<>
{
    Internals::SystemCondition granting; // each thread has its own: nobody is woken but the next
    bool granted = false;
};

} // namespace

// A flag and a queue under a short-lived mutex: unlike the mutexes of the systems, this can be
// waited for with a time-out on the steady clock, in the order of arrival.
struct Native_OS::CFastMutex::State
{
    /// Waits in the queue. @return whether the lock was given to the caller
    bool Queue(std::unique_lock<Internals::SystemMutex>& lock, Internals::SteadyTime deadline)
    {
        Place place;
        queue.push_back(place);
        while (!place.granted && std::chrono::steady_clock::now() < deadline)
            place.granting.Sleep(lock, deadline);
        queue.erase(queue.iterator_to(place));
        return place.granted;
    }

    /// Gives the lock to the first that waits; it stays held in between, so that nobody who comes
    /// later slips in before.
    void PassOn()
    {
        held = !queue.empty();
        if (held)
        {
            queue.front().granted = true;
            queue.front().granting.WakeOne();
        }
    }

    Internals::SystemMutex mutex;
    boost::intrusive::list<Place, boost::intrusive::constant_time_size<false>> queue;
    bool held = false;
};

Native_OS::CFastMutex::CFastMutex() = default;
Native_OS::CFastMutex::~CFastMutex() = default;

std::uint32_t Native_OS::CFastMutex::Init()
{
    if (m_State == nullptr)
        m_State.reset(new (std::nothrow) State);
    return m_State != nullptr ? RESULT_SUCCESS : RESULT_NO_RESOURCES;
}

std::uint32_t Native_OS::CFastMutex::Wait(CSyncGuard* guard, std::uint32_t milliseconds)
{
    if (m_State == nullptr)
        return RESULT_NOT_INITIALISED;
    if (guard != nullptr && guard->m_Lock != nullptr)
        return RESULT_INVALID;

    std::unique_lock lock(m_State->mutex);
    if (m_State->held && !m_State->Queue(lock, Internals::DeadlineAfter(milliseconds)))
        return RESULT_TIMEOUT;
    m_State->held = true;
    if (guard != nullptr)
        guard->m_Lock = this;
    return RESULT_SUCCESS;
}

void Native_OS::CFastMutex::Release()
{
    if (m_State == nullptr)
        return;
    const std::lock_guard lock(m_State->mutex);
    if (m_State->held)
        m_State->PassOn();
}

CSyncGuard::~CSyncGuard()
{
    if (m_Lock != nullptr)
        m_Lock->Release();
}

} // namespace ZKT::Threading
