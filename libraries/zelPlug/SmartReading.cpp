#include "libraries/zelPlug/SmartReading.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace PI::Internals
{
namespace
{

constexpr std::uint64_t MostHours = 300'000;       // 34 years; beyond it the count has another unit
constexpr std::uint64_t NoCount = 0xFFFFFFFFFFFF;  // all bits set
constexpr std::uint64_t MostEraseCount = 0xFFFFFF; // more than any cell bears
constexpr std::uint64_t MostTold = 1000;   // percent of a drive's own telling; beyond it, a count
constexpr std::uint64_t MostPercent = 255; // worn drives pass 100; beyond it nothing changes

std::uint64_t RawOf(const _IDE_SMART_ATTRIBUTE& entry, std::size_t bytes)
{
    std::uint64_t value = 0;
    while (bytes-- > 0)
        value = value << 8 | entry.m_Raw[bytes];
    return value;
}

std::uint64_t RawOf(const _IDE_SMART_ATTRIBUTE& entry)
{
    return PageIndex::RawOf(entry);
}

std::uint64_t NumberOf(const _IDE_SMART_ATTRIBUTE& entry, Field field)
{
    switch (field)
    {
    case Field::Current:
        return entry.m_Value;
    case Field::RawByte:
        return RawOf(entry, 1);
    case Field::RawWord:
        return RawOf(entry, 2);
    default:
        return RawOf(entry);
    }
}

std::optional<std::uint64_t> Left(std::uint64_t full, std::uint64_t number)
{
    return number <= full ? std::optional(full - number) : std::nullopt;
}

std::optional<std::uint64_t> UsedBy(const PageIndex& page, const UsedReading& reading,
                                    std::uint64_t cycles)
{
    using enum UsedReading::Formula;
    const _IDE_SMART_ATTRIBUTE* entry = page.Find(reading.id);
    if (!entry)
        return std::nullopt;
    const std::uint64_t number = NumberOf(*entry, reading.field);
    if (reading.zeroIsNothing && number == 0 && RawOf(*entry) == 0)
        return std::nullopt;
    switch (reading.formula)
    {
    case LeftOf100:
        return Left(100, number);
    case LeftOf200:
        return Left(200, number);
    case LeftSteep:
    {
        const auto left = Left(100, number);
        return left ? std::optional(*left * 105 / 100) : std::nullopt;
    }
    case EraseCount:
        return number <= MostEraseCount
                   ? std::optional(number * 100 / (cycles != 0 ? cycles : reading.cycles))
                   : std::nullopt;
    default:
        return number <= MostTold ? std::optional(number) : std::nullopt;
    }
}

} // namespace

PageIndex::PageIndex(const _IDE_SMART_DATA& page)
{
    for (const _IDE_SMART_ATTRIBUTE& entry : page.m_Attributes)
        if (entry.m_ID != 0 && !m_Entries[entry.m_ID]) // 0: an unused entry
            m_Entries[entry.m_ID] = &entry;
}

std::uint64_t PageIndex::RawOf(const _IDE_SMART_ATTRIBUTE& entry)
{
    return Internals::RawOf(entry, std::size(entry.m_Raw));
}

bool Holds(const PageTest& test, const PageIndex& page)
{
    using enum PageTest::Kind;
    const _IDE_SMART_ATTRIBUTE* entry = page.Find(test.id);
    if (!entry || test.kind == Absent)
        return !entry && test.kind == Absent;
    switch (test.kind)
    {
    case CurrentIsRaw:
        return entry->m_Value == RawOf(*entry);
    case CurrentIsNotRaw:
        return entry->m_Value != RawOf(*entry);
    case RawIsZero:
        return RawOf(*entry) == 0;
    case CurrentAbove100:
        return entry->m_Value > 100;
    case CurrentIs100:
        return entry->m_Value == 100;
    default:
        return true;
    }
}

std::optional<std::uint64_t> HoursOf(const PageIndex& page, const HoursReading& reading)
{
    const _IDE_SMART_ATTRIBUTE* entry = page.Find(reading.id);
    if (!entry)
        return std::nullopt;
    // Milliseconds, or something else, stand above the 24 bits on some drives.
    const std::uint64_t count = RawOf(*entry, 3);
    const std::uint64_t start = count >= reading.start ? reading.start : 0;
    const std::uint64_t hours = (count - start) / reading.countsAnHour;
    return hours <= MostHours ? std::optional(hours) : std::nullopt;
}

std::optional<Found<std::uint64_t>> BytesOf(const PageIndex& page,
                                            std::span<const WritesReading> readings)
{
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    for (const WritesReading& reading : readings)
    {
        const _IDE_SMART_ATTRIBUTE* entry = page.Find(reading.id);
        const std::uint64_t count = entry ? RawOf(*entry) : NoCount;
        if (count != NoCount)
            return Found<std::uint64_t>{count > most / reading.unit ? most : count * reading.unit,
                                        reading.id};
    }
    return std::nullopt;
}

std::optional<Found<std::uint32_t>>
PercentUsedOf(const PageIndex& page, std::span<const UsedReading> readings, std::uint64_t cycles)
{
    for (const UsedReading& reading : readings)
        if (const auto used = UsedBy(page, reading, cycles))
            return Found<std::uint32_t>{static_cast<std::uint32_t>(std::min(*used, MostPercent)),
                                        reading.id};
    return std::nullopt;
}

std::optional<std::uint32_t> LeftBy(const PageIndex& page, const ReserveReading& reading)
{
    using enum ReserveReading::Kind;
    const _IDE_SMART_ATTRIBUTE* entry = page.Find(reading.id);
    if (!entry)
        return std::nullopt;
    const std::uint64_t number = reading.kind == OwnRaw ? RawOf(*entry) : entry->m_Value;
    if (number == 0 && reading.zeroIsNothing)
        return std::nullopt;
    if (number <= reading.threshold)
        return 0;
    switch (reading.kind)
    {
    case Margin:
    {
        const std::uint64_t whole = reading.best - reading.threshold;
        return static_cast<std::uint32_t>(
            std::min<std::uint64_t>(100 * (number - reading.threshold) / whole, 100));
    }
    case Limit:
        return std::nullopt;
    default: // above 100 it has another scale
        return number <= 100 ? std::optional(static_cast<std::uint32_t>(number)) : std::nullopt;
    }
}

std::optional<Found<std::uint32_t>> PercentLeftOf(const PageIndex& page,
                                                  std::span<const ReserveReading> readings)
{
    std::optional<Found<std::uint32_t>> least;
    for (const ReserveReading& reading : readings)
        if (const auto left = LeftBy(page, reading); left && (!least || *left < least->number))
            least = Found<std::uint32_t>{*left, reading.id};
    return least;
}

} // namespace PI::Internals
