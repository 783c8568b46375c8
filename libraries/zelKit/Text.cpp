#include "contracts/zelKit/Text.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace
{

struct Span
{
    char32_t first;
    char32_t last;
};

// Sorted. Controls, and format characters that turn the direction of text or hide it.
constexpr Span unprintable[] = {
    {0x0000, 0x001F},    {0x007F, 0x009F},   {0x00AD, 0x00AD},   {0x061C, 0x061C},
    {0x180E, 0x180E},    {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F},
    {0xE000, 0xF8FF},    {0xFDD0, 0xFDEF},   {0xFEFF, 0xFEFF},   {0xFFF0, 0xFFFB},
    {0xFFFE, 0xFFFF},    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE007F},
    {0xF0000, 0x10FFFF},
};

std::atomic<bool> isKeptToAscii = false;

bool IsUnprintable(char32_t code)
{
    const Span* after = std::upper_bound(std::begin(unprintable), std::end(unprintable), code,
                                         [](char32_t c, const Span& s) { return c < s.first; });
    return after != std::begin(unprintable) && code <= std::prev(after)->last;
}

std::string Escape(const ZKT::Misc::CCharacter& c)
{
    const char* format = c.length <= 1 ? "\\x%02x" : c.code <= 0xFFFF ? "\\u%04x" : "\\U%08x";
    char escape[16];
    std::snprintf(escape, sizeof escape, format, static_cast<unsigned>(c.code));
    return escape;
}

} // namespace

namespace ZKT
{

Misc::CCharacter Misc::DecodeUtf8(std::string_view text, std::size_t position)
{
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000}; // by length: no overlong forms
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[position + i]); };
    const std::uint8_t lead = byte(0);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || position + length > text.size())
        return {lead, 0};
    char32_t code = static_cast<char32_t>(lead & (0xFF >> (length + 1)));
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((byte(i) & 0xC0) != 0x80)
            return {lead, 0};
        code = (code << 6) | (byte(i) & 0x3F);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < smallest[length] || code > 0x10FFFF || surrogate)
        return {lead, 0};
    return {code, length};
}

std::string Misc::Printable(std::string_view bytes)
{
    std::string result;
    for (std::size_t i = 0; i < bytes.size();)
    {
        const CCharacter c = DecodeUtf8(bytes, i);
        const bool isWritten = c.length == 1 || (c.length > 1 && !isKeptToAscii);
        if (isWritten && !IsUnprintable(c.code))
            result.append(bytes, i, c.length);
        else
            result += Escape(c);
        i += std::max<std::size_t>(c.length, 1);
    }
    return result;
}

void Misc::KeepToAscii()
{
    isKeptToAscii = true;
}

bool Misc::IsKeptToAscii()
{
    return isKeptToAscii;
}

} // namespace ZKT
