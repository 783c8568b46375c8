#include "contracts/zelKit/Mutex.h"

#include "libraries/zelKit/Deadline.h"
#include "libraries/zelKit/System.h"

#include <list>
#include <mutex>
#include <new>

namespace ZKT::Threading
{
namespace
{

/// One thread's place in the queue for a lock.
struct Place
{
    Internals::SleepingPlace bed; // each thread has its own: nobody is woken but the next
    bool granted = false;
};

} // namespace

// A flag and a queue under a short-lived mutex: unlike a locked pthread mutex, this can be waited
// for with a time-out, on a clock of choice, and be left by a cancelled thread.
struct Native_OS::CFastMutex::State
{
    /// Queues a thread, and takes it out again however its wait ends. The mutex is held whenever
    /// it is made or destroyed, also while a cancelled wait is unwound.
    class Queued
    {
      public:
        explicit Queued(State& state) : m_State(state), m_Place(state.queue.emplace(End())) {}
        ~Queued()
        {
            const bool unused = m_Place->granted && !m_Taken;
            m_State.queue.erase(m_Place);
            if (unused)
                m_State.PassOn();
        }
        Queued(const Queued&) = delete;
        Queued& operator=(const Queued&) = delete;

        bool Wait(std::unique_lock<std::mutex>& lock, Internals::SteadyTime deadline)
        {
            while (!m_Place->granted && std::chrono::steady_clock::now() < deadline)
                m_Place->bed.Sleep(lock, deadline);
            m_Taken = m_Place->granted;
            return m_Taken;
        }

      private:
        std::list<Place>::iterator End() { return m_State.queue.end(); }

        State& m_State;
        std::list<Place>::iterator m_Place;
        bool m_Taken = false;
    };

    /// Gives the lock to the first that waits; it stays held in between, so that nobody who comes
    /// later slips in before.
    void PassOn()
    {
        held = !queue.empty();
        if (held)
        {
            queue.front().granted = true;
            queue.front().bed.Wake();
        }
    }

    std::mutex mutex;
    std::list<Place> queue;
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
    if (m_State->held)
    {
        if (milliseconds == 0)
            return RESULT_TIMEOUT;
        State::Queued queued(*m_State);
        if (!queued.Wait(lock, Internals::DeadlineAfter(milliseconds)))
            return RESULT_TIMEOUT;
    }
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
