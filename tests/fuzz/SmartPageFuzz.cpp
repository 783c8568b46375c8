// Any model text and any page, on their way through all that health makes of them.
// Input: the length of the text, the text, the page. What is missing of the page is 0.
#include "libraries/zelPlug/SmartFamily.h"
#include "tarnis/Src/tarnisPlugin/Health.h"
#include "tests/fuzz/Require.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <tuple>

namespace
{

using namespace NAMESPACE_tarnis;
using PI::CPluginHelper;
__extension__ using Wide = unsigned __int128;

constexpr const char* Blanks = " \t\n\v\f\r";
constexpr const char* BetweenWords = " \t\n\v\f\r_-";

void SplitModel(const std::string& model, std::string& vendor, std::string& product)
{
    std::string text = model.substr(std::min(model.find_first_not_of(Blanks), model.size()));
    text.erase(text.find_last_not_of(Blanks) + 1);
    const PI::_ERROR_CODE result = CPluginHelper::SplitSATAModelName(model, vendor, product);
    Require(result == (text.empty() ? PI::ERR_INVALID_PARAMETER : PI::ERR_SUCCESS),
            "split: result");
    Require(text.empty() == product.empty() && text.ends_with(product), "split: product");
    const std::string front = text.substr(0, text.size() - product.size());
    Require(front.empty() || (front.starts_with(vendor) &&
                              front.find_first_not_of(BetweenWords, vendor.size()) == front.npos),
            "split: every word is told");
}

auto FieldsOf(const PI::CSmartValues& values)
{
    return std::tuple(values.m_Rating, values.m_PowerOnHours, values.m_BytesWritten,
                      values.m_RemainingReserve, values.m_RatedEndurancePercent);
}

using PI::Internals::PageIndex;
using PI::Internals::ReserveReading;

/// One term of a reserve, by a search in place of a division.
std::optional<std::uint32_t> TermOf(const PageIndex& page, const ReserveReading& reading)
{
    using enum ReserveReading::Kind;
    const auto* entry = page.Find(reading.id);
    if (!entry)
        return std::nullopt;
    std::uint64_t raw = 0;
    std::memcpy(&raw, entry->m_Raw, sizeof(entry->m_Raw));
    const std::uint64_t number = reading.kind == OwnRaw ? raw : entry->m_Value;
    if (number == 0 && reading.zeroIsNothing)
        return std::nullopt;
    if (number <= reading.threshold)
        return 0;
    if (reading.kind == Limit || (reading.kind != Margin && number > 100))
        return std::nullopt;
    if (reading.kind != Margin)
        return static_cast<std::uint32_t>(number);
    std::uint32_t margin = 100;
    while (margin * (reading.best - reading.threshold) > 100 * (number - reading.threshold))
        --margin;
    return margin;
}

/// Any family may meet any page. The first one that fits gives the drive its values. It is looked
/// for by both texts together, since either may hold both.
void CheckFamilies(const PI::_IDE_SMART_DATA& page, const CAHCIPhysicalDrive& drive,
                   const PI::CSmartValues& values)
{
    using namespace PI::Internals;
    const PageIndex index(page);
    std::string vendorText, productText;
    CPluginHelper::SplitSATAModelName(drive.m_Vendor + ' ' + drive.m_Product, vendorText,
                                      productText);
    const ModelText vendor(vendorText), product(productText);
    bool isFound = false;
    for (const SmartFamily& family : SmartFamilies())
    {
        std::optional<std::uint32_t> least;
        for (const ReserveReading& reading : family.reserve)
            if (const auto term = TermOf(index, reading); term && (!least || *term < *least))
                least = term;
        const auto left = PercentLeftOf(index, family.reserve);
        Require((left ? std::optional(left->number) : std::nullopt) == least,
                "the reserve is the smallest term");
        if (isFound || !FitsModel(family, vendor, product) || !FitsPage(family, index))
            continue;
        isFound = true;
        Require(values.m_RemainingReserve == least.value_or(NoReading32),
                "the reserve is that of the first family that fits");
        Require(values.m_PowerOnHours == HoursOf(index, family.hours).value_or(0),
                "the hours are those of the first family that fits");
    }
    Require(isFound, "some family fits");
}

/// Against a plain division in 128 bits.
/// @return hours left, or NoReading64 without an estimate
std::uint64_t LifeOf(std::uint64_t hours, std::uint64_t bytes, std::uint32_t percent,
                     std::uint64_t rating)
{
    const bool isWear = percent != NoReading32;
    const Wide used = isWear ? percent : bytes;
    const Wide total = isWear ? 100 : std::min(Wide{rating} * 1'000'000'000'000, Wide{NoReading64});
    const bool whole = used >= total;
    const bool estimated = used != 0 && total != 0 && hours > 0 && (whole || hours > 1) &&
                           (whole || hours >= 168 || 10 * used >= total);
    const Wide wanted =
        whole || used == 0 ? 0 : std::min(hours * (total - used) / used, Wide{NoReading64});

    std::uint64_t left = NoReading64 - 7;
    Require(CPluginHelper::ComputeRemainingLifeTime(hours, bytes, percent, rating, left) ==
                estimated,
            "hours left: whether there is an estimate");
    Require(left == (estimated ? wanted : NoReading64 - 7), "hours left");
    return estimated ? left : NoReading64;
}

void EvaluateDrive(const PI::_IDE_SMART_DATA& page, CAHCIPhysicalDrive& drive)
{
    PI::CSmartValues values(drive.m_Vendor, drive.m_Product);
    const auto before = FieldsOf(values);
    const bool filled = values.Evaluate(page);
    const auto once = FieldsOf(values);
    Require(filled ? values.IsSupported() : once == before, "fields change with a reading alone");
    Require(values.IsSupported(), "every model has a family");
    for (const auto& [percent, most] : {std::pair(values.m_RemainingReserve, 100U),
                                        std::pair(values.m_RatedEndurancePercent, 255U)})
        Require(percent <= most || percent == NoReading32, "reserve and endurance used");

    if (filled)
        CheckFamilies(page, drive, values);
    CAHCIAdapter adapter;
    EvaluateSmartPage(page, PI::CSmartValues(drive.m_Vendor, drive.m_Product), drive);
    ApplyHealthLimits(drive, adapter);
    Require(drive.m_PowerOnHours <= 0xFFFFFF && drive.m_Temperature <= 127, "hours, temperature");
    Require(once == std::tuple(values.m_Rating, drive.m_PowerOnHours, drive.m_BytesWritten,
                               drive.m_RemainingReserve, drive.m_RatedEndurancePercent),
            "the drive has the values of its page");
    Require(drive.m_RemainingLifeTimeHours ==
                LifeOf(std::max<std::uint64_t>(values.m_PowerOnHours, 1), values.m_BytesWritten,
                       values.m_RatedEndurancePercent, values.m_Rating),
            "the drive has its hours left");
    Require((adapter.m_Status == PI::VAL_WARNING) == (drive.m_Status == PI::VAL_AVAILABLE_SMART),
            "the adapter warns with its drive");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::size_t length = size == 0 ? 0 : std::min<std::size_t>(data[0], size - 1);
    const std::string model(data + std::min<std::size_t>(size, 1),
                            data + std::min(size, 1 + length));
    PI::_IDE_SMART_DATA page{};
    if (size > 1 + length)
        std::memcpy(&page, data + 1 + length, std::min(size - 1 - length, sizeof(page)));

    CAHCIPhysicalDrive drive;
    SplitModel(model, drive.m_Vendor, drive.m_Product);
    const PI::CSATALifeTimeData* row = CPluginHelper::findLifeTimeProp(drive.m_Product);
    Require(row == nullptr || row->m_RatedEndurance != 0, "a row of the table");
    EvaluateDrive(page, drive);

    // Figures that no page tells; the rest of the page, which nothing reads, gives them.
    std::uint64_t figures[4];
    std::memcpy(figures, page.m_Rest, sizeof(figures));
    LifeOf(figures[0], figures[1], static_cast<std::uint32_t>(figures[2]), figures[3]);
    return 0;
}
