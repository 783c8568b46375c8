#include "libraries/zelPlug/ModelText.h"

namespace PI::Internals
{
namespace
{

// Own tests of characters: those of <cctype> follow the host's locale.
bool IsGap(char c)
{
    return c == ' ' || c == '_' || (c >= '\t' && c <= '\r');
}

char Capital(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// Length of the first element of a pattern.
std::size_t ElementLength(std::string_view pattern)
{
    return pattern.front() == '[' ? pattern.find(']') + 1 : 1;
}

bool IsOneOf(char c, std::string_view element)
{
    switch (element.front())
    {
    case '?':
        return true;
    case '#':
        return c >= '0' && c <= '9';
    case '_':
        return c == ' ';
    case '[':
        return element.substr(1, element.size() - 2).find(c) != std::string_view::npos;
    default:
        return c == element.front();
    }
}

/// Whether the text has the form of one pattern. When an element fails, the last '*' takes one
/// character more; an earlier one could not do better.
bool MatchesOne(std::string_view text, std::string_view pattern)
{
    constexpr std::size_t none = std::string_view::npos;
    std::size_t at = 0;
    std::size_t place = 0;
    std::size_t starPlace = none;
    std::size_t starAt = 0;
    while (at < text.size())
    {
        const std::string_view rest = pattern.substr(place);
        if (!rest.empty() && rest.front() == '*')
        {
            starPlace = ++place;
            starAt = at;
            continue;
        }
        const std::size_t length = rest.empty() ? 0 : ElementLength(rest);
        if (length != 0 && IsOneOf(text[at], rest.substr(0, length)))
        {
            place += length;
            ++at;
        }
        else if (starPlace != none)
        {
            place = starPlace;
            at = ++starAt;
        }
        else
            return false;
    }
    return pattern.find_first_not_of('*', place) == none;
}

} // namespace

ModelText::ModelText(std::string_view text)
{
    bool gap = false;
    for (const char c : text)
    {
        if (IsGap(c))
        {
            gap = m_Length != 0;
            continue;
        }
        if (m_Length + 2 > m_Text.size())
            break;
        if (gap)
            m_Text[m_Length++] = ' ';
        gap = false;
        m_Text[m_Length++] = Capital(c);
    }
}

std::string_view TakeWord(std::string_view& text)
{
    const std::size_t gap = text.find(' ');
    const std::string_view word = text.substr(0, gap);
    text = gap == std::string_view::npos ? std::string_view() : text.substr(gap + 1);
    return word;
}

bool Matches(std::string_view text, std::string_view patterns)
{
    while (!patterns.empty())
        if (MatchesOne(text, TakeWord(patterns)))
            return true;
    return false;
}

} // namespace PI::Internals
