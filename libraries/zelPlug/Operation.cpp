#include "contracts/zelPlug/Operation.h"

namespace PI
{

COperation::COperation() : COperation(static_cast<_OPERATION_ID>(0)) {}

COperation::COperation(_OPERATION_ID id)
    : m_ID(id), m_AliasID(static_cast<std::uint32_t>(id)), m_Category(0), m_Param1(0), m_Param2(0),
      m_Param3(0), m_Param4(0), m_Param5(0), m_Param6(0), m_Flag(0)
{
}

COperation::COperation(const COperation&) = default;
COperation& COperation::operator=(const COperation&) = default;
COperation::COperation(COperation&&) noexcept = default;
COperation& COperation::operator=(COperation&&) noexcept = default;
COperation::~COperation() = default;

void COperation::SetEvents(const std::vector<CEvent>& events)
{
    m_Events = events;
}

} // namespace PI
