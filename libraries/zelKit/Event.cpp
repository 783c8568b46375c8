#include "contracts/zelKit/Event.h"

#include "libraries/zelKit/EventState.h"

#include <exception>
#include <mutex>
#include <utility>

namespace ZKT
{

using Internals::EventState;

namespace Internals::Windows
{

CEventCB::CEventCB(std::shared_ptr<EventState> state) : m_State(std::move(state)) {}
CEventCB::~CEventCB() = default;

void CEventCB::Set()
{
    const std::lock_guard lock(eventsMutex);
    Signal(*m_State);
}

} // namespace Internals::Windows

namespace Threading
{

CWaitHandle::CWaitHandle(std::shared_ptr<EventState> state) : m_State(std::move(state)) {}
CWaitHandle::~CWaitHandle() = default;
CWaitHandle::CWaitHandle(const CWaitHandle&) = default;
CWaitHandle& CWaitHandle::operator=(const CWaitHandle&) = default;

CEvent::CEvent() = default;
CEvent::~CEvent() = default;

std::uint32_t CEvent::Init(bool initiallySet, bool manualReset)
{
    if (m_ControlBlock != nullptr)
        return RESULT_SUCCESS;
    try
    {
        auto state = std::make_shared<EventState>(initiallySet, manualReset);
        m_ControlBlock = std::make_unique<Internals::Windows::CEventCB>(state);
        m_State = std::move(state);
    }
    catch (const std::exception&)
    {
        return RESULT_NO_RESOURCES;
    }
    return RESULT_SUCCESS;
}

CWaitHandle CEvent::GetWaitHandle() const
{
    return CWaitHandle(m_State);
}

} // namespace Threading
} // namespace ZKT
