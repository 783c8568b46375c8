#include "contracts/zelPlug/SmartValues.h"

namespace PI
{

CSmartValues::CSmartValues(const std::string& /*vendor*/, const std::string& /*product*/)
    : m_Rating(0), m_PowerOnHours(0), m_BytesWritten(0), m_RemainingReserve(0xFFFFFFFF),
      m_RatedEndurancePercent(0xFFFFFFFF)
{
}

bool CSmartValues::IsSupported() const
{
    return false;
}

bool CSmartValues::Evaluate(const _IDE_SMART_DATA& /*page*/)
{
    return false;
}

} // namespace PI
