#include "libraries/zelPlug/SmartFamily.h"

#include "contracts/zelPlug/PluginHelper.h"
#include "libraries/zelPlug/ModelText.h"

namespace PI::Internals
{
namespace
{

// The vocabulary of the rows.
constexpr std::uint64_t Sector = 512;
constexpr std::uint64_t MiB = 1024 * 1024;
constexpr std::uint64_t GiB = 1024 * MiB;

constexpr Reading None{};

/// Attribute 9, in whole hours or a part of them.
constexpr Reading Hours(std::uint64_t countsAnHour = 1, std::uint64_t most = 0xFFFFFF)
{
    return {9, Field::RawLow, Meaning::Count, countsAnHour, most};
}

/// A counter of host writes. All its bits set are no count.
constexpr Reading Writes(std::uint8_t id, std::uint64_t unit)
{
    return {id, Field::Raw, Meaning::Count, unit, 0xFFFFFFFFFFFE};
}

/// A current value that counts down from 100. Above 100 it has another scale, or no use.
constexpr Reading CurrentLeft(std::uint8_t id)
{
    return {id, Field::Current, Meaning::PercentLeft, 1, 100};
}

constexpr Reading RawLeft(std::uint8_t id)
{
    return {id, Field::Raw, Meaning::PercentLeft, 1, 100};
}

constexpr Reading RawUsed(std::uint8_t id)
{
    return {id, Field::Raw, Meaning::PercentUsed, 1, 255};
}

constexpr Reading Erased(std::uint8_t id)
{
    return {id, Field::Raw, Meaning::EraseCount, 1, 0xFFFFFF};
}

constexpr Reading ErasedWord(std::uint8_t id)
{
    return {id, Field::RawWord, Meaning::EraseCount, 1, 0xFFFF};
}

constexpr Reading UnlessZero(Reading reading)
{
    reading.zeroIsNothing = true;
    return reading;
}

constexpr Readings Either(const Reading& first, const Reading& second)
{
    return {first, second};
}

#define SMART_FAMILY(vendors, products, cycles, hours, writes, used, reserve)                      \
    {vendors, products, cycles, hours, writes, used, reserve},
constexpr SmartFamily families[] = {
#include "libraries/zelPlug/SmartFamilies.inc"
};
#undef SMART_FAMILY

const SmartFamily* FindRow(const std::string& vendor, const std::string& product)
{
    const ModelText vendorText(vendor);
    const ModelText productText(product);
    for (const SmartFamily& family : families)
        if (Matches(vendorText.View(), family.vendors) &&
            Matches(productText.View(), family.products))
            return &family;
    return nullptr;
}

} // namespace

const SmartFamily* FindSmartFamily(const std::string& vendor, const std::string& product)
{
    if (const SmartFamily* family = FindRow(vendor, product))
        return family;
    std::string newVendor;
    std::string newProduct;
    CPluginHelper::SplitSATAModelName(vendor + ' ' + product, newVendor, newProduct);
    return FindRow(newVendor, newProduct);
}

} // namespace PI::Internals
