#include "host/EventInbox.h"

#include <utility>

namespace Host
{

void EventInbox::Watch(PluginSession& session, const Objects& objects)
{
    m_Session = &session;
    for (const PI::CObject& object : objects)
    {
        m_Known.insert(object.m_ID);
        if (object.m_Type == PI::OBJECT_PLUGIN)
            m_PluginId = object.m_ID;
    }
    session.StartWorker(this, &EventInbox::Answer);
}

std::vector<ReceivedEvent> EventInbox::Take()
{
    m_Bell.Answer();
    const std::lock_guard guard(m_Lock);
    if (m_Failure)
        std::rethrow_exception(m_Failure);
    return std::exchange(m_Events, {});
}

void EventInbox::Answer(void* inbox, IPLUGINAPI*)
{
    auto& self = *static_cast<EventInbox*>(inbox);
    try
    {
        self.Receive();
    }
    catch (const std::exception&) // it belongs to the thread that prints, not to the plug-in's
    {
        const std::lock_guard guard(self.m_Lock);
        self.m_Failure = std::current_exception();
    }
    self.m_Bell.Ring();
}

void EventInbox::Receive()
{
    for (const PI::CEvent& event : m_Session->Events(m_PluginId))
    {
        // An id is never used twice: one that is known went, any other came.
        bool present = m_Known.count(event.m_ObjectID) != 0;
        if (event.m_EventID == PI::EVENT_PNPADD_EX)
        {
            present = m_Known.erase(event.m_ObjectID) == 0;
            if (present)
                m_Known.insert(event.m_ObjectID);
        }
        const std::lock_guard guard(m_Lock);
        m_Events.push_back({event, present});
    }
}

} // namespace Host
