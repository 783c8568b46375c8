#include "contracts/zelPlug/SmartValues.h"

#include "contracts/zelPlug/PluginHelper.h"
#include "libraries/zelPlug/SmartFamily.h"

#include <algorithm>

namespace PI
{
namespace
{

constexpr std::uint32_t NoPercent = 0xFFFFFFFF;
constexpr std::uint64_t MostBytesAnHour = 600'000'000ULL * 3600; // at the speed of the interface

/// The families of a model, in the order in which their page tests are tried. Vendor and product
/// are split anew, since either text may hold both.
std::vector<const Internals::SmartFamily*> FamiliesOf(const std::string& vendor,
                                                      const std::string& product)
{
    std::string newVendor;
    std::string newProduct;
    CPluginHelper::SplitSATAModelName(vendor + ' ' + product, newVendor, newProduct);
    const Internals::ModelText vendorText(newVendor);
    const Internals::ModelText productText(newProduct);
    std::vector<const Internals::SmartFamily*> families;
    for (const Internals::SmartFamily& family : Internals::SmartFamilies())
        if (Internals::FitsModel(family, vendorText, productText))
            families.push_back(&family);
    return families;
}

/// The bytes written, unless they are more than the interface carries in the hours: then the drive
/// counts something else.
std::optional<std::uint64_t> TrustedBytes(const Internals::PageIndex& page,
                                          const Internals::SmartFamily& family,
                                          std::optional<std::uint64_t> hours)
{
    const auto bytes = Internals::BytesOf(page, family.writes);
    return bytes && hours && *bytes / MostBytesAnHour > *hours ? std::nullopt : bytes;
}

} // namespace

CSmartValues::CSmartValues(const std::string& vendor, const std::string& product)
    : m_Rating(0), m_PowerOnHours(0), m_BytesWritten(0), m_RemainingReserve(NoPercent),
      m_RatedEndurancePercent(NoPercent), m_Families(FamiliesOf(vendor, product))
{
    if (const CSATALifeTimeData* known = CPluginHelper::findLifeTimeProp(product))
        (known->m_Vendor == "INNODISK" ? m_RatedCycles : m_Rating) = known->m_RatedEndurance;
}

bool CSmartValues::IsSupported() const
{
    return !m_Families.empty();
}

bool CSmartValues::Evaluate(const _IDE_SMART_DATA& page)
{
    const Internals::PageIndex index(page);
    const auto family =
        std::ranges::find_if(m_Families, [&](const Internals::SmartFamily* candidate)
                             { return Internals::FitsPage(*candidate, index); });
    if (family == m_Families.end())
        return false;
    const auto hours = Internals::HoursOf(index, (*family)->hours);
    const auto bytes = TrustedBytes(index, **family, hours);
    const auto used = Internals::PercentUsedOf(index, (*family)->used, m_RatedCycles);
    const auto left = Internals::PercentLeftOf(index, (*family)->reserve);
    if (!hours && !bytes && !used && !left)
        return false;
    m_PowerOnHours = hours.value_or(0);
    m_BytesWritten = bytes.value_or(0);
    m_RatedEndurancePercent = used.value_or(NoPercent);
    m_RemainingReserve = left.value_or(NoPercent);
    return true;
}

} // namespace PI
