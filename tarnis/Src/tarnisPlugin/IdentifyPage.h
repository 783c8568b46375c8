// What IDENTIFY DEVICE data says of a drive. Pure: words in, texts out.
#pragma once

#include "vocabulary/Identifiers.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace NAMESPACE_tarnis
{

/// IDENTIFY words 0 to 255, each widened to 32 bits.
using IdentifyData = std::array<std::uint32_t, 256>;

/// Writes words `first` to `last` as text, two characters a word, and a NUL behind them; needs room
/// for 2 * (last - first + 1) + 1 bytes. With `swap` the high byte comes first, which is the ATA
/// order of text. Trailing white space is overwritten with NUL, but for the first character.
/// @return `out`
char* GetIdentifyString(const IdentifyData& words, std::size_t first, std::size_t last, bool swap,
                        char* out);

/// Whether SMART commands may be sent: word 0 bit 6, fixed device.
bool IsFixedDevice(const IdentifyData& words);

/// The texts by which a drive is known, trimmed.
struct DriveIdentity
{
    std::string vendor;
    std::string product;
    std::string serialNumber;
    std::string firmwareVersion;
};

/// Decodes all four texts. A drive that stores its texts with the bytes of each word swapped is
/// recognised by its vendor, and all its texts are read in that order. The vendor of all others is
/// corrected by what is known of the model.
DriveIdentity DecodeIdentity(const IdentifyData& words);

/// SSD for a rotation rate of 1 (word 217), and for Intel models that begin with "SSD"; else HDD.
PI::_VALUE_ID MediaTypeOf(const IdentifyData& words, const DriveIdentity& identity);

} // namespace NAMESPACE_tarnis
