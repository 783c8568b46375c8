#include "libraries/zelPlug/SmartReading.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace PI::Internals
{
namespace
{

constexpr std::uint64_t MostPercent = 255; // worn drives pass 100; beyond this it tells no more

/// The first entry of an id: pages hold entries out of order, and ids more than once.
const _IDE_SMART_ATTRIBUTE* EntryOf(const _IDE_SMART_DATA& page, std::uint8_t id)
{
    if (id == 0) // an unused entry
        return nullptr;
    for (const _IDE_SMART_ATTRIBUTE& entry : page.m_Attributes)
        if (entry.m_ID == id)
            return &entry;
    return nullptr;
}

std::uint64_t RawOf(const _IDE_SMART_ATTRIBUTE& entry, std::size_t bytes)
{
    std::uint64_t value = 0;
    while (bytes-- > 0)
        value = value << 8 | entry.m_Raw[bytes];
    return value;
}

std::uint64_t NumberOf(const _IDE_SMART_ATTRIBUTE& entry, Field field)
{
    switch (field)
    {
    case Field::Current:
        return entry.m_Value;
    case Field::RawLow:
        return RawOf(entry, 3);
    case Field::RawWord:
        return RawOf(entry, 2);
    default:
        return RawOf(entry, std::size(entry.m_Raw));
    }
}

std::optional<std::uint64_t> ValueOf(const _IDE_SMART_DATA& page, const Reading& reading)
{
    const _IDE_SMART_ATTRIBUTE* entry = EntryOf(page, reading.id);
    if (!entry)
        return std::nullopt;
    if (reading.zeroIsNothing && entry->m_Value == 0 && NumberOf(*entry, Field::Raw) == 0)
        return std::nullopt;
    const std::uint64_t value = NumberOf(*entry, reading.field);
    return value <= reading.most ? std::optional(value) : std::nullopt;
}

std::optional<std::uint64_t> UsedBy(const _IDE_SMART_DATA& page, const Reading& reading,
                                    std::uint64_t cycles)
{
    const std::optional<std::uint64_t> value = ValueOf(page, reading);
    if (!value || (reading.meaning == Meaning::EraseCount && cycles == 0))
        return std::nullopt;
    switch (reading.meaning)
    {
    case Meaning::PercentLeft:
        return 100 - *value;
    case Meaning::EraseCount:
        return *value * 100 / cycles;
    default:
        return *value;
    }
}

std::optional<std::uint32_t> Percent(const std::optional<std::uint64_t>& value)
{
    if (!value)
        return std::nullopt;
    return static_cast<std::uint32_t>(std::min(*value, MostPercent));
}

} // namespace

std::optional<std::uint64_t> HoursOf(const _IDE_SMART_DATA& page, const Reading& reading)
{
    const std::optional<std::uint64_t> value = ValueOf(page, reading);
    return value ? std::optional(*value / reading.scale) : std::nullopt;
}

std::optional<std::uint64_t> BytesOf(const _IDE_SMART_DATA& page, const Reading& reading)
{
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const std::optional<std::uint64_t> value = ValueOf(page, reading);
    if (!value)
        return std::nullopt;
    return *value > most / reading.scale ? most : *value * reading.scale;
}

std::optional<std::uint32_t> PercentUsedOf(const _IDE_SMART_DATA& page, const Readings& readings,
                                           std::uint64_t cycles)
{
    const std::optional<std::uint64_t> used = UsedBy(page, readings.first, cycles);
    return Percent(used ? used : UsedBy(page, readings.second, cycles));
}

std::optional<std::uint32_t> PercentLeftOf(const _IDE_SMART_DATA& page, const Readings& readings)
{
    const std::optional<std::uint64_t> left = ValueOf(page, readings.first);
    return Percent(left ? left : ValueOf(page, readings.second));
}

} // namespace PI::Internals
