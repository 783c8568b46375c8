// The event queue and its delivery.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Locks.h"
#include "tarnis/Src/tarnis/Trace.h"

#include <iterator>

namespace NAMESPACE_tarnis
{

void IPLUGINAPI_IMPL::QueueEvents(std::vector<PI::CEvent>& events)
{
    m_Events.reserve(m_Events.size() + events.size());
    m_Events.insert(m_Events.end(), std::make_move_iterator(events.begin()),
                    std::make_move_iterator(events.end()));
}

// The wait can fail, and the lock is then not held: more than the lock analysis can follow.
PI::_ERROR_CODE IPLUGINAPI_IMPL::GetEvents(const CAHCIPlugin&, PI::COperation& operation)
    TARNIS_NO_THREAD_SAFETY_ANALYSIS
{
    Trace(TRACE_FLOW, "ENTER GetEvents()");
    operation.m_Events.clear();
    const std::uint32_t taken =
        TracedStep("m_EventsLock.Wait(INFINITE)", SourceLocation::current(),
                   [this] { return m_EventsLock.Wait(nullptr, ZKT::Infinite); });
    if (taken != ZKT::RESULT_SUCCESS)
        return PI::ERR_SUCCESS;

    // The queue is copied before it is emptied: when memory runs out nothing is lost.
    struct Release
    {
        ZKT::Threading::Native_OS::CFastMutex& lock;
        SourceLocation where;
        ~Release()
        {
            TracedStep("m_EventsLock.Release()", where, [this] { lock.Release(); });
        }
    };
    {
        const Release release{m_EventsLock, SourceLocation::current()};
        operation.SetEvents(m_Events);
        m_Events.clear();
    }
    Trace(TRACE_FLOW, "LEAVE GetEvents() -> %d", PI::ERR_SUCCESS);
    return PI::ERR_SUCCESS;
}

} // namespace NAMESPACE_tarnis
