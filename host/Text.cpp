#include "host/Text.h"

#include <algorithm>
#include <iterator>

namespace
{

using ZKT::Misc::CCharacter;
using ZKT::Misc::DecodeUtf8;

struct Span
{
    char32_t first;
    char32_t last;
};

// Sorted. They take no column of their own.
constexpr Span combining[] = {
    {0x0300, 0x036F},   {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x06D6, 0x06DC},   {0x0900, 0x0902}, {0x093C, 0x093C}, {0x0941, 0x0948}, {0x0E31, 0x0E31},
    {0x0E34, 0x0E3A},   {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20FF},
    {0x302A, 0x302D},   {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0x1F3FB, 0x1F3FF},
    {0xE0100, 0xE01EF},
};

// Sorted. They take two columns.
constexpr Span wide[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x2E80, 0x303E},
    {0x3041, 0xA4CF},   {0xA960, 0xA97F},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},   {0x1F300, 0x1F64F},
    {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD},
};

template <std::size_t N> bool Contains(const Span (&spans)[N], char32_t code)
{
    const Span* after = std::upper_bound(std::begin(spans), std::end(spans), code,
                                         [](char32_t c, const Span& s) { return c < s.first; });
    return after != std::begin(spans) && code <= std::prev(after)->last;
}

std::size_t Columns(char32_t code)
{
    if (Contains(combining, code))
        return 0;
    return Contains(wide, code) ? 2 : 1;
}

} // namespace

namespace Host
{

std::size_t DisplayWidth(std::string_view printable)
{
    std::size_t columns = 0;
    for (std::size_t i = 0; i < printable.size();)
    {
        const CCharacter c = DecodeUtf8(printable, i);
        if (c.code == '\x1b')
        {
            i = std::min(printable.find('m', i), printable.size() - 1) + 1;
            continue;
        }
        columns += Columns(c.code);
        i += std::max<std::size_t>(c.length, 1);
    }
    return columns;
}

std::vector<std::string> Broken(const std::string& printable, std::size_t columns)
{
    std::vector<std::string> pieces;
    std::string_view rest = printable;
    while (DisplayWidth(rest) > columns)
    {
        std::size_t used = 0;
        std::size_t end = 0;
        std::size_t seam = 0; // behind the last character after which a break looks well
        while (end < rest.size())
        {
            const CCharacter c = DecodeUtf8(rest, end);
            used += Columns(c.code);
            if (used > columns && end != 0)
                break;
            end += std::max<std::size_t>(c.length, 1);
            if (c.code == ' ' || c.code == '-' || c.code == '_')
                seam = end;
        }
        end = seam != 0 ? seam : end;
        pieces.emplace_back(rest.substr(0, end));
        rest.remove_prefix(end);
    }
    if (!rest.empty() || pieces.empty())
        pieces.emplace_back(rest);
    return pieces;
}

std::string Wrapped(std::string_view printable, std::size_t columns, std::string_view indent)
{
    std::string text;
    std::size_t used = 0; // columns of the line under way
    while (!printable.empty())
    {
        const std::size_t word = std::min(printable.find_first_not_of(' '), printable.size());
        const std::size_t end = std::min(printable.find(' ', word), printable.size());
        const std::size_t width = DisplayWidth(printable.substr(0, end));
        if (used == 0 || used + width <= columns)
        {
            text += printable.substr(0, end);
            used += width;
        }
        else
        {
            text += '\n';
            text += indent;
            text += printable.substr(word, end - word);
            used = indent.size() + width - word;
        }
        printable.remove_prefix(end);
    }
    return text;
}

std::string WithoutLeadingBlanks(const std::string& text)
{
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::string PadRight(const std::string& printable, std::size_t columns)
{
    const std::size_t width = DisplayWidth(printable);
    return printable + std::string(columns > width ? columns - width : 0, ' ');
}

std::string PadLeft(const std::string& printable, std::size_t columns)
{
    const std::size_t width = DisplayWidth(printable);
    return std::string(columns > width ? columns - width : 0, ' ') + printable;
}

} // namespace Host
