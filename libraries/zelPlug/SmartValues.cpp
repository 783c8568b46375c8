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
std::optional<Internals::Found<std::uint64_t>> TrustedBytes(const Internals::PageIndex& page,
                                                            const Internals::SmartFamily& family,
                                                            std::optional<std::uint64_t> hours)
{
    const auto bytes = Internals::BytesOf(page, family.writes);
    return bytes && hours && bytes->number / MostBytesAnHour > *hours ? std::nullopt : bytes;
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

const Internals::SmartFamily* CSmartValues::FamilyOf(const Internals::PageIndex& page) const
{
    const auto family =
        std::ranges::find_if(m_Families, [&](const Internals::SmartFamily* candidate)
                             { return Internals::FitsPage(*candidate, page); });
    return family == m_Families.end() ? nullptr : *family;
}

bool CSmartValues::Evaluate(const _IDE_SMART_DATA& page)
{
    const Internals::PageIndex index(page);
    const Internals::SmartFamily* family = FamilyOf(index);
    if (family == nullptr)
        return false;
    const auto hours = Internals::HoursOf(index, family->hours);
    const auto bytes = TrustedBytes(index, *family, hours);
    const auto used = Internals::PercentUsedOf(index, family->used, m_RatedCycles);
    const auto left = Internals::PercentLeftOf(index, family->reserve);
    if (!hours && !bytes && !used && !left)
        return false;
    m_PowerOnHours = hours.value_or(0);
    m_BytesWritten = bytes ? bytes->number : 0;
    m_RatedEndurancePercent = used ? used->number : NoPercent;
    m_RemainingReserve = left ? left->number : NoPercent;
    return true;
}

bool CSmartValues::Explain(const _IDE_SMART_DATA& page, CSmartExplanation& explanation) const
{
    using Internals::PageIndex;
    explanation = {};
    const PageIndex index(page);
    const Internals::SmartFamily* family = FamilyOf(index);
    explanation.m_Attributes.reserve(static_cast<std::size_t>(std::ranges::count_if(
        page.m_Attributes, [](const _IDE_SMART_ATTRIBUTE& entry) { return entry.m_ID != 0; })));
    for (const _IDE_SMART_ATTRIBUTE& entry : page.m_Attributes)
    {
        if (entry.m_ID == 0)
            continue;
        CSmartAttribute attribute{entry.m_ID, entry.m_Value,           entry.m_Worst,
                                  0,          PageIndex::RawOf(entry), NoPercent};
        // Of an id that stands twice the first entry counts.
        if (family != nullptr && index.Find(entry.m_ID) == &entry)
            for (const Internals::ReserveReading& reading : family->reserve)
                if (reading.id == entry.m_ID)
                {
                    attribute.m_Threshold = reading.threshold;
                    attribute.m_Margin = Internals::LeftBy(index, reading).value_or(NoPercent);
                }
        explanation.m_Attributes.push_back(attribute);
    }
    if (family == nullptr)
        return false;
    explanation.m_Family = family->name;
    const auto hours = Internals::HoursOf(index, family->hours);
    if (hours)
        explanation.m_HoursID = family->hours.id;
    const auto idOf = [](const auto& found) { return found ? found->id : std::uint8_t{0}; };
    explanation.m_BytesID = idOf(TrustedBytes(index, *family, hours));
    explanation.m_EnduranceID = idOf(Internals::PercentUsedOf(index, family->used, m_RatedCycles));
    explanation.m_ReserveID = idOf(Internals::PercentLeftOf(index, family->reserve));
    return true;
}

} // namespace PI
