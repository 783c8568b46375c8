#include "contracts/zelPlug/Event.h"

namespace PI
{

CEvent::CEvent() : m_ObjectID(0), m_EventID(static_cast<_EVENT_ID>(0)), m_Severity(0), m_Time(0) {}

CEvent::CEvent(const CEvent&) = default;
CEvent& CEvent::operator=(const CEvent&) = default;
CEvent::CEvent(CEvent&&) noexcept = default;
CEvent& CEvent::operator=(CEvent&&) noexcept = default;
CEvent::~CEvent() = default;

} // namespace PI
