#include "contracts/zelKit/Waiter.h"

#include "contracts/zelKit/Thread.h"
#include "libraries/zelKit/Clock.h"
#include "libraries/zelKit/EventState.h"

#include <algorithm>
#include <boost/intrusive/list.hpp>
#include <span>

namespace ZKT
{
namespace Internals
{

namespace
{

/// As DeadlineAfter, on the clock that can be skipped ahead.
SteadyTime MomentAfter(std::uint32_t milliseconds)
{
    if (milliseconds == Infinite)
        return SteadyTime::max();
    return SteadyNow() + std::chrono::milliseconds(milliseconds);
}

using Handles = std::span<const Threading::CWaitHandle>;
// A node does not clear its links: a thread that sleeps at the end of the process may outlive the
// list.
using Link =
    boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::normal_link>>;

} // namespace

/// A thread's wait for some events, or for its time alone. eventsMutex is held around every call.
class Sleeper : public Link
{
  public:
    Sleeper(Handles handles, bool forAll) : m_Handles(handles), m_ForAll(forAll) {}

    /// Takes the signals that end the wait, when they are there.
    void Take()
    {
        if (m_Position != 0 || m_Handles.empty())
            return;
        const auto isSet = [](const Threading::CWaitHandle& handle) { return handle.m_State->set; };
        const auto first = std::find_if(m_Handles.begin(), m_Handles.end(), isSet);
        if (m_ForAll ? !std::all_of(m_Handles.begin(), m_Handles.end(), isSet)
                     : first == m_Handles.end())
            return;
        for (const Threading::CWaitHandle& handle : m_ForAll ? m_Handles : Handles(first, 1))
            handle.m_State->set = handle.m_State->manualReset;
        m_Position = static_cast<std::uint32_t>(first - m_Handles.begin()) + 1;
        m_Woken.WakeOne();
    }

    void Wake() { m_Woken.WakeOne(); }

    /// 1-based position of what ended the wait, 0 for the time or a request to stop.
    std::uint32_t Sleep(std::unique_lock<SystemMutex>& lock, SteadyTime deadline);

  private:
    Handles m_Handles;
    bool m_ForAll;
    std::uint32_t m_Position = 0;
    SystemCondition m_Woken;
};

namespace
{

/// All waits that sleep, the oldest first; eventsMutex guards it.
boost::intrusive::list<Sleeper, boost::intrusive::constant_time_size<false>> sleeping;

} // namespace

std::uint32_t Sleeper::Sleep(std::unique_lock<SystemMutex>& lock, SteadyTime deadline)
{
    sleeping.push_back(*this);
    while (m_Position == 0 && SteadyNow() < deadline && !Threading::StopRequested())
        m_Woken.Sleep(lock, SystemMoment(deadline));
    sleeping.erase(sleeping.iterator_to(*this));
    return m_Position;
}

void WakeSleepers()
{
    for (Sleeper& sleeper : sleeping)
        sleeper.Wake();
}

void Signal(EventState& event)
{
    event.set = true;
    for (Sleeper& sleeper : sleeping)
        sleeper.Take(); // an earlier one may consume the signal: then there is nothing to take
}

} // namespace Internals

namespace Threading
{

CWaiter::CWaiter(std::initializer_list<CWaitHandle> handles) : m_Handles(handles) {}
CWaiter::~CWaiter() = default;

std::uint32_t CWaiter::Wait(std::uint32_t milliseconds, bool waitForAll)
{
    if (m_Handles.empty() || m_Handles.size() >= RESULT_TIMEOUT)
        return RESULT_INVALID;
    for (const CWaitHandle& handle : m_Handles)
        if (handle.m_State == nullptr)
            return RESULT_NOT_INITIALISED;
    if (StopRequested())
        return RESULT_STOPPED;

    std::unique_lock lock(Internals::eventsMutex);
    Internals::Sleeper sleeper({m_Handles.data(), m_Handles.size()}, waitForAll);
    sleeper.Take();
    const std::uint32_t position = sleeper.Sleep(lock, Internals::MomentAfter(milliseconds));
    if (position != 0)
        return position;
    return StopRequested() ? RESULT_STOPPED : RESULT_TIMEOUT;
}

void SleepFor(std::uint32_t milliseconds) noexcept
{
    std::unique_lock lock(Internals::eventsMutex);
    Internals::Sleeper({}, false).Sleep(lock, Internals::MomentAfter(milliseconds));
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
