// How a number is read out of a SMART page.
#pragma once

#include "contracts/zelPlug/SmartValues.h"

#include <cstdint>
#include <optional>

namespace PI::Internals
{

/// The part of an attribute that holds the number.
enum class Field
{
    None,
    Current,
    Raw,     ///< 48 bits
    RawLow,  ///< the low 24 bits; hour counters have milliseconds or more above
    RawWord, ///< the low 16 bits
};

/// What a number stands for.
enum class Meaning
{
    Count,
    PercentLeft,
    PercentUsed,
    EraseCount, ///< average program/erase cycles of the cells
};

/// One number of one attribute.
struct Reading
{
    std::uint8_t id = 0;
    Field field = Field::None;
    Meaning meaning = Meaning::Count;
    std::uint64_t scale = 1;    ///< counts an hour, or bytes a count
    std::uint64_t most = 0;     ///< a number above it is no reading
    bool zeroIsNothing = false; ///< current value 0 with raw value 0: the attribute is not in use
};

/// A number, and where else to look when the first place has none.
struct Readings
{
    constexpr Readings(const Reading& only) : first(only) {}
    constexpr Readings(const Reading& one, const Reading& other) : first(one), second(other) {}

    Reading first;
    Reading second;
};

/// Each is empty when the page does not hold the number, or one that cannot be meant.
std::optional<std::uint64_t> HoursOf(const _IDE_SMART_DATA& page, const Reading& reading);
std::optional<std::uint64_t> BytesOf(const _IDE_SMART_DATA& page, const Reading& reading);

/// @param cycles  that the cells are rated for, 0: not known
/// @return percent, at most 255
std::optional<std::uint32_t> PercentUsedOf(const _IDE_SMART_DATA& page, const Readings& readings,
                                           std::uint64_t cycles);

/// @return percent, at most 100
std::optional<std::uint32_t> PercentLeftOf(const _IDE_SMART_DATA& page, const Readings& readings);

} // namespace PI::Internals
