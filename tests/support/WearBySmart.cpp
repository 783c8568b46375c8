// Stands in for the reading of SMART pages by model: here every model is known, attribute 202 is
// the endurance used and attribute 232 the reserve left, both as raw values. An executable that
// holds these definitions has them used by the plug-in too.
#include "contracts/zelPlug/SmartValues.h"

namespace PI
{

CSmartValues::CSmartValues(const std::string&, const std::string&)
    : m_Rating(0), m_PowerOnHours(0), m_BytesWritten(0), m_RemainingReserve(0xFFFFFFFF),
      m_RatedEndurancePercent(0xFFFFFFFF)
{
}

bool CSmartValues::IsSupported() const
{
    return true;
}

bool CSmartValues::Evaluate(const _IDE_SMART_DATA& page)
{
    for (const _IDE_SMART_ATTRIBUTE& attribute : page.m_Attributes)
    {
        if (attribute.m_ID == 202)
            m_RatedEndurancePercent = attribute.m_Raw[0];
        if (attribute.m_ID == 232)
            m_RemainingReserve = attribute.m_Raw[0];
    }
    return true;
}

} // namespace PI
