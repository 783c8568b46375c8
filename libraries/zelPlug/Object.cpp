#include "contracts/zelPlug/Object.h"

namespace PI
{

CObject::CObject() : m_ID(0), m_Type(OBJECT_UNDEFINED), m_ChangeCount(0) {}

CObject::CObject(const CObject&) = default;
CObject& CObject::operator=(const CObject&) = default;
CObject::CObject(CObject&&) noexcept = default;
CObject& CObject::operator=(CObject&&) noexcept = default;
CObject::~CObject() = default;

bool CObject::operator==(const CObject& other) const
{
    return m_ID == other.m_ID && m_Type == other.m_Type && m_Children == other.m_Children;
}

} // namespace PI
