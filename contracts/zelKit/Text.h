#pragma once

#include "contracts/Export.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace ZKT::Misc
{

struct CCharacter
{
    char32_t code;      ///< of a byte that is not UTF-8: the byte
    std::size_t length; ///< in bytes; 0 for a byte that is not UTF-8
};

/// The character that begins at a position before the text's end.
ZELKIT_API CCharacter DecodeUtf8(std::string_view text, std::size_t position);

/// Makes a text of any bytes safe for a terminal: control characters, characters that turn or hide
/// text, and bytes that are not UTF-8 are written as "\xNN", "\uNNNN" or "\UNNNNNNNN". The result
/// is valid UTF-8 of one line.
ZELKIT_API std::string Printable(std::string_view bytes);

/// From now on Printable() gives ASCII: every other character is written as "\uNNNN" as well. For a
/// program whose terminal or log takes no UTF-8.
ZELKIT_API void KeepToAscii();
ZELKIT_API bool IsKeptToAscii();

} // namespace ZKT::Misc
