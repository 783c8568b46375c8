// Any model text and any page, on their way through all that health makes of them.
// Input: the length of the text, the text, the page. What is missing of the page is 0.
#include "tarnis/Src/tarnisPlugin/Health.h"
#include "tests/fuzz/Require.h"

#include <algorithm>
#include <cstring>
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

/// Against a plain division in 128 bits.
/// @return hours left, or NoReading64 without an estimate
std::uint64_t LifeOf(std::uint64_t hours, std::uint64_t bytes, std::uint32_t percent,
                     std::uint64_t rating)
{
    Wide wanted = NoReading64;
    bool whole = false, tenth = false, share = false;
    const auto ask = [&](Wide used, Wide total)
    {
        if (used == 0 || total == 0)
            return;
        share = true;
        whole = whole || used >= total;
        tenth = tenth || 10 * used >= total;
        wanted = std::min(wanted, used >= total ? 0 : hours * (total - used) / used);
    };
    ask(percent == NoReading32 ? 0 : percent, 100);
    ask(bytes, std::min(Wide{rating} * 1'000'000'000'000, Wide{NoReading64}));
    const bool estimated = share && hours > 0 && (whole || hours > 1) && (tenth || hours >= 168);

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
    Require(values.IsSupported() || values.m_Rating == 0, "an unknown model has no rating");
    for (const auto& [percent, most] : {std::pair(values.m_RemainingReserve, 100U),
                                        std::pair(values.m_RatedEndurancePercent, 255U)})
        Require(percent <= most || percent == NoReading32, "reserve and endurance used");

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
    Require(values.IsSupported() || drive.m_Status == PI::VAL_AVAILABLE,
            "no alarm of an unknown model");
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
