#include "contracts/zelPlug/SmartValues.h"

#include "contracts/zelPlug/PluginHelper.h"
#include "libraries/zelPlug/SmartFamily.h"

namespace PI
{
namespace
{

constexpr std::uint32_t NoPercent = 0xFFFFFFFF;

} // namespace

CSmartValues::CSmartValues(const std::string& vendor, const std::string& product)
    : m_Rating(0), m_PowerOnHours(0), m_BytesWritten(0), m_RemainingReserve(NoPercent),
      m_RatedEndurancePercent(NoPercent), m_Family(Internals::FindSmartFamily(vendor, product))
{
    if (!m_Family)
        return;
    m_RatedCycles = m_Family->ratedCycles;
    if (const CSATALifeTimeData* known = CPluginHelper::findLifeTimeProp(product))
        (known->m_Vendor == "INNODISK" ? m_RatedCycles : m_Rating) = known->m_RatedEndurance;
}

bool CSmartValues::IsSupported() const
{
    return m_Family != nullptr;
}

bool CSmartValues::Evaluate(const _IDE_SMART_DATA& page)
{
    if (!m_Family)
        return false;
    const auto hours = Internals::HoursOf(page, m_Family->hours);
    const auto bytes = Internals::BytesOf(page, m_Family->writes);
    const auto used = Internals::PercentUsedOf(page, m_Family->used, m_RatedCycles);
    const auto left = Internals::PercentLeftOf(page, m_Family->reserve);
    if (!hours && !bytes && !used && !left)
        return false;
    m_PowerOnHours = hours.value_or(0);
    m_BytesWritten = bytes.value_or(0);
    m_RatedEndurancePercent = used.value_or(NoPercent);
    m_RemainingReserve = left.value_or(NoPercent);
    return true;
}

} // namespace PI
