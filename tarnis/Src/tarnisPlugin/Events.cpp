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

PI::_ERROR_CODE IPLUGINAPI_IMPL::GetEvents(const CAHCIPlugin&, PI::COperation& operation)
{
    Trace(TRACE_FLOW, "ENTER GetEvents()");
    operation.m_Events.clear();
    {
        const TracedLock queue(m_EventsLock, "m_EventsLock.Wait(INFINITE)",
                               "m_EventsLock.Release()");
        if (!queue.IsHeld())
            return PI::ERR_SUCCESS;
        // Copied before it is emptied: when memory runs out nothing is lost.
        operation.SetEvents(m_Events);
        m_Events.clear();
    }
    Trace(TRACE_FLOW, "LEAVE GetEvents() -> %d", PI::ERR_SUCCESS);
    return PI::ERR_SUCCESS;
}

} // namespace NAMESPACE_tarnis
