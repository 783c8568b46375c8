#include "contracts/zelKit/Waiter.h"

#include "libraries/zelKit/Clock.h"
#include "libraries/zelKit/EventState.h"
#include "libraries/zelKit/System.h"

#include <algorithm>

namespace ZKT
{
namespace Internals
{

class Sleeper;

namespace
{

std::vector<Sleeper*> sleeping; // all waits that sleep; eventsMutex guards it

/// As DeadlineAfter, on the clock that can be skipped ahead.
SteadyTime MomentAfter(std::uint32_t milliseconds)
{
    if (milliseconds == Infinite)
        return SteadyTime::max();
    return SteadyNow() + std::chrono::milliseconds(milliseconds);
}

} // namespace

/// A thread's wait for some events. eventsMutex is held around every call and around its
/// destruction, also while a cancelled wait is unwound.
class Sleeper
{
  public:
    Sleeper(std::vector<EventState*> events, bool forAll)
        : m_Events(std::move(events)), m_ForAll(forAll)
    {
    }

    ~Sleeper()
    {
        std::erase(sleeping, this);
        for (EventState* event : m_Events)
            std::erase(event->sleepers, this);
        // A thread that is cancelled between its signal and its waking has not seen the signal:
        // the next one shall.
        if (m_Position != 0 && !m_Reported)
            GiveBack();
    }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

    /// Takes the signals that end the wait, when they are there.
    bool Take()
    {
        if (m_Position != 0)
            return false;
        const auto isSet = [](const EventState* event) { return event->set; };
        if (m_ForAll)
        {
            if (!std::all_of(m_Events.begin(), m_Events.end(), isSet))
                return false;
            for (EventState* event : m_Events)
                event->set = event->manualReset;
            m_Position = 1;
            return true;
        }
        const auto first = std::find_if(m_Events.begin(), m_Events.end(), isSet);
        if (first == m_Events.end())
            return false;
        (*first)->set = (*first)->manualReset;
        m_Position = static_cast<std::uint32_t>(first - m_Events.begin()) + 1;
        return true;
    }

    void Wake() { m_Bed.Wake(); }

    void Sleep(std::unique_lock<std::mutex>& lock, SteadyTime deadline)
    {
        for (EventState* event : m_Events)
            event->sleepers.push_back(this);
        sleeping.push_back(this);
        while (m_Position == 0 && SteadyNow() < deadline)
            m_Bed.Sleep(lock, SystemMoment(deadline));
    }

    /// 1-based position of what ended the wait, 0 for nothing yet.
    std::uint32_t Report()
    {
        m_Reported = true;
        return m_Position;
    }

  private:
    void GiveBack()
    {
        if (!m_ForAll)
            return Signal(*m_Events[m_Position - 1]);
        for (EventState* event : m_Events)
            Signal(*event);
    }

    std::vector<EventState*> m_Events;
    bool m_ForAll;
    bool m_Reported = false;
    std::uint32_t m_Position = 0;
    SleepingPlace m_Bed;
};

void WakeSleepers()
{
    for (Sleeper* sleeper : sleeping)
        sleeper->Wake();
}

void Signal(EventState& event)
{
    event.set = true;
    for (Sleeper* sleeper : event.sleepers)
    {
        if (!event.set)
            break; // an earlier sleeper has consumed it
        if (sleeper->Take())
            sleeper->Wake();
    }
}

} // namespace Internals

namespace Threading
{

using Internals::EventState;

CWaiter::CWaiter(std::initializer_list<CWaitHandle> handles) : m_Handles(handles) {}
CWaiter::~CWaiter() = default;

std::uint32_t CWaiter::Wait(std::uint32_t milliseconds, bool waitForAll)
{
    if (m_Handles.empty() || m_Handles.size() >= RESULT_TIMEOUT)
        return RESULT_INVALID;
    std::vector<EventState*> events;
    events.reserve(m_Handles.size());
    for (const CWaitHandle& handle : m_Handles)
    {
        if (handle.m_State == nullptr)
            return RESULT_NOT_INITIALISED;
        events.push_back(handle.m_State.get());
    }

    // A thread whose events are always set never sleeps, and can be cancelled all the same.
    Internals::PassCancellation();

    std::unique_lock lock(Internals::eventsMutex);
    Internals::Sleeper sleeper(std::move(events), waitForAll);
    if (!sleeper.Take() && milliseconds != 0)
        sleeper.Sleep(lock, Internals::MomentAfter(milliseconds));
    const std::uint32_t position = sleeper.Report();
    return position != 0 ? position : RESULT_TIMEOUT;
}

void CWaitInterval::Restart(std::uint32_t milliseconds)
{
    m_Infinite = milliseconds == Infinite;
    m_End = Internals::MomentAfter(milliseconds);
}

CWaitInterval::operator std::uint32_t() const
{
    if (m_Infinite)
        return Infinite;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_End - Internals::SteadyNow());
    return left.count() > 0 ? static_cast<std::uint32_t>(left.count()) : 0;
}

} // namespace Threading
} // namespace ZKT
