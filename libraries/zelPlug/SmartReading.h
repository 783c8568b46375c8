// How a number is read out of a SMART page. Plain values, decoded without any I/O.
#pragma once

#include "contracts/zelPlug/SmartValues.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace PI::Internals
{

/// A list of fixed capacity, which can be made at compile time.
template <typename ItemType, std::size_t Capacity> class ShortList
{
  public:
    using Item = ItemType;

    constexpr bool Add(const Item& item)
    {
        if (m_Count == Capacity)
            return false;
        m_Items[m_Count++] = item;
        return true;
    }

    constexpr operator std::span<const Item>() const { return {m_Items.data(), m_Count}; }
    constexpr const Item* begin() const { return m_Items.data(); }
    constexpr const Item* end() const { return m_Items.data() + m_Count; }

  private:
    std::array<Item, Capacity> m_Items{};
    std::size_t m_Count = 0;
};

/// The entries of a page by id. The page must outlive it.
class PageIndex
{
  public:
    explicit PageIndex(const _IDE_SMART_DATA& page);

    static std::uint64_t RawOf(const _IDE_SMART_ATTRIBUTE& entry); ///< all 48 bits

    /// The first entry of an id: pages hold entries out of order, and ids more than once.
    /// @return null when the page has no such entry
    const _IDE_SMART_ATTRIBUTE* Find(std::uint8_t id) const { return m_Entries[id]; }

  private:
    std::array<const _IDE_SMART_ATTRIBUTE*, 256> m_Entries{};
};

/// The part of an attribute that holds a number.
enum class Field : std::uint8_t
{
    Current, ///< 8 bits
    Raw,     ///< 48 bits
    RawByte, ///< the low 8 bits
    RawWord, ///< the low 16 bits
};

/// A condition on a page, which tells layouts apart that share a model name.
struct PageTest
{
    enum class Kind : std::uint8_t
    {
        Present,
        Absent,
        CurrentIsRaw,
        CurrentIsNotRaw,
        RawIsZero,
        CurrentAbove100,
        CurrentIs100,
    };

    std::uint8_t id = 0;
    Kind kind = Kind::Present;
};

/// Power-on hours: the low 24 bits of a raw value, in counts of which an hour has several, perhaps
/// starting at a number other than 0.
struct HoursReading
{
    std::uint8_t id = 0;
    std::uint32_t countsAnHour = 1;
    std::uint32_t start = 0;
};

/// Host writes: a raw value in units of some bytes.
struct WritesReading
{
    std::uint8_t id = 0;
    std::uint64_t unit = 0;
};

/// Endurance used, percent.
struct UsedReading
{
    enum class Formula : std::uint8_t
    {
        Used,       ///< the number itself
        LeftOf100,  ///< 100 - number
        LeftOf200,  ///< 200 - number
        LeftSteep,  ///< 1.05 * (100 - number)
        EraseCount, ///< of the rated cycles
    };

    std::uint8_t id = 0;
    Field field = Field::Current;
    Formula formula = Formula::Used;
    std::uint32_t cycles = 0;   ///< of EraseCount: that the cells are rated for
    bool zeroIsNothing = false; ///< 0 of the number and of the raw value: the attribute is unused
};

/// One term of the reserve left, percent. The smallest of a drive's terms is its reserve.
struct ReserveReading
{
    enum class Kind : std::uint8_t
    {
        Own,    ///< the current value, a percentage by itself; 0 at the threshold
        OwnRaw, ///< the raw value, a percentage by itself
        Margin, ///< distance of the current value from the threshold, of that of a new drive
        Limit,  ///< 0 with the current value at the threshold, else nothing
    };

    std::uint8_t id = 0;
    Kind kind = Kind::Own;
    std::uint8_t threshold = 0;
    std::uint8_t best = 100;    ///< of Margin: current value of a new drive
    bool zeroIsNothing = false; ///< 0 stands for an attribute that is not in use
};

bool Holds(const PageTest& test, const PageIndex& page);

/// A number, and the attribute that it comes from.
template <typename Number> struct Found
{
    Number number;
    std::uint8_t id;

    bool operator==(const Found&) const = default;
};

/// Each is empty when the page does not hold the number, or one that cannot be meant.
std::optional<std::uint64_t> HoursOf(const PageIndex& page, const HoursReading& reading);

/// The first of the readings that the page holds, saturated at 64 bits.
std::optional<Found<std::uint64_t>> BytesOf(const PageIndex& page,
                                            std::span<const WritesReading> readings);

/// The first of the readings that the page holds.
/// @param cycles  that the cells of the model are rated for, in place of the readings' own; 0: not
///                known
/// @return percent, at most 255
std::optional<Found<std::uint32_t>>
PercentUsedOf(const PageIndex& page, std::span<const UsedReading> readings, std::uint64_t cycles);

/// One term of the reserve.
/// @return percent, at most 100
std::optional<std::uint32_t> LeftBy(const PageIndex& page, const ReserveReading& reading);

/// The smallest of the readings that the page holds.
std::optional<Found<std::uint32_t>> PercentLeftOf(const PageIndex& page,
                                                  std::span<const ReserveReading> readings);

} // namespace PI::Internals
