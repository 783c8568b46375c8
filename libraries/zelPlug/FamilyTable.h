// Reads the text of SmartFamilies.inc at compile time.
#pragma once

#include "libraries/zelPlug/SmartFamily.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace PI::Internals
{

/// Takes pieces off the front of a text.
class Scanner
{
  public:
    constexpr explicit Scanner(std::string_view text) : m_Rest(text) {}

    constexpr bool IsAtEnd() const { return m_Rest.empty(); }

    constexpr bool Take(std::string_view word)
    {
        if (!m_Rest.starts_with(word))
            return false;
        m_Rest.remove_prefix(word.size());
        return true;
    }

    /// @return false when no digit comes next, or the number passes `most`
    template <typename Number> constexpr bool TakeNumber(Number& number, std::uint64_t most)
    {
        std::uint64_t value = 0;
        std::size_t digits = 0;
        while (digits < m_Rest.size() && m_Rest[digits] >= '0' && m_Rest[digits] <= '9')
        {
            value = 10 * value + static_cast<std::uint64_t>(m_Rest[digits++] - '0');
            if (value > most)
                return false;
        }
        m_Rest.remove_prefix(digits);
        number = static_cast<Number>(value);
        return digits != 0;
    }

    /// @return what stands before the separator, which is taken too, or all that is left
    constexpr std::string_view TakeUntil(char separator)
    {
        std::size_t end = 0;
        while (end < m_Rest.size() && m_Rest[end] != separator)
            ++end;
        const std::string_view taken = m_Rest.substr(0, end);
        m_Rest.remove_prefix(end < m_Rest.size() ? end + 1 : end);
        return taken;
    }

  private:
    std::string_view m_Rest;
};

constexpr std::string_view WithoutBlanks(std::string_view text)
{
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

/// The Parse functions read one word of a cell.
/// @return false when the word does not follow the notation
constexpr bool Parse(Scanner text, PageTest& test)
{
    using enum PageTest::Kind;
    const bool present = text.Take("+");
    const bool absent = !present && text.Take("-");
    test.kind = absent ? Absent : Present;
    if (!text.TakeNumber(test.id, 255))
        return false;
    if (present || absent)
        return text.IsAtEnd();
    if (text.Take(":cur=raw"))
        test.kind = CurrentIsRaw;
    else if (text.Take(":cur!=raw"))
        test.kind = CurrentIsNotRaw;
    else if (text.Take(":cur>100"))
        test.kind = CurrentAbove100;
    else if (text.Take(":cur=100"))
        test.kind = CurrentIs100;
    else if (text.Take(":raw=0"))
        test.kind = RawIsZero;
    else
        return false;
    return text.IsAtEnd();
}

constexpr bool Parse(Scanner text, HoursReading& reading)
{
    if (!text.TakeNumber(reading.id, 255))
        return false;
    if (text.Take("/") &&
        (!text.TakeNumber(reading.countsAnHour, 3600) || reading.countsAnHour == 0))
        return false;
    if (text.Take("-") && !text.TakeNumber(reading.start, 0xFFFFFF))
        return false;
    return text.IsAtEnd();
}

constexpr bool Parse(Scanner text, WritesReading& reading)
{
    if (!text.TakeNumber(reading.id, 255) || !text.Take("*") ||
        !text.TakeNumber(reading.unit, 0xFFFFFF) || reading.unit == 0)
        return false;
    if (text.Take("MiB"))
        reading.unit *= 1024 * 1024;
    else if (text.Take("GiB"))
        reading.unit *= 1024 * 1024 * 1024;
    else if (text.Take("GB"))
        reading.unit *= 1'000'000'000;
    return text.IsAtEnd();
}

constexpr bool Parse(Scanner text, UsedReading& reading)
{
    using enum UsedReading::Formula;
    struct Form
    {
        std::string_view text;
        Field field;
        UsedReading::Formula formula;
    };
    // A form stands before those that it begins with.
    constexpr Form forms[] = {
        {"1.05*(100-cur)", Field::Current, LeftSteep}, {"200-cur", Field::Current, LeftOf200},
        {"100-cur", Field::Current, LeftOf100},        {"100-raw", Field::Raw, LeftOf100},
        {"100-low", Field::RawByte, LeftOf100},        {"raw/", Field::Raw, EraseCount},
        {"w0/", Field::RawWord, EraseCount},           {"raw", Field::Raw, Used},
    };
    if (!text.TakeNumber(reading.id, 255) || !text.Take(":"))
        return false;
    for (const Form& form : forms)
        if (text.Take(form.text))
        {
            reading.field = form.field;
            reading.formula = form.formula;
            if (form.formula == EraseCount &&
                (!text.TakeNumber(reading.cycles, 1'000'000) || reading.cycles == 0))
                return false;
            reading.zeroIsNothing = text.Take("?");
            return text.IsAtEnd();
        }
    return false;
}

constexpr bool Parse(Scanner text, ReserveReading& reading)
{
    using enum ReserveReading::Kind;
    if (!text.TakeNumber(reading.id, 255))
        return false;
    if (text.Take(":raw"))
        reading.kind = OwnRaw;
    else if (text.Take("%"))
        reading.kind = Own;
    else if (text.Take(">"))
        reading.kind = Margin;
    else if (text.Take("!"))
        reading.kind = Limit;
    else
        return false;
    if (reading.kind != OwnRaw && !text.TakeNumber(reading.threshold, 253))
        return false;
    if (reading.kind == Margin && text.Take("/") && !text.TakeNumber(reading.best, 253))
        return false;
    reading.zeroIsNothing = text.Take("?");
    return text.IsAtEnd() && (reading.kind != Margin || reading.threshold < reading.best);
}

/// Reads the words of a cell into a list.
template <typename List> constexpr bool ParseWords(std::string_view cell, List& list)
{
    Scanner words(cell);
    while (!words.IsAtEnd())
    {
        const std::string_view word = words.TakeUntil(' ');
        auto item = typename List::Item();
        if (!word.empty() && !(Parse(Scanner(word), item) && list.Add(item)))
            return false;
    }
    return true;
}

/// Each class of characters ends, and has no range, which patterns do not know.
constexpr bool HasWholeClasses(std::string_view patterns)
{
    bool isOpen = false;
    for (const char c : patterns)
    {
        if (isOpen ? c == '[' || c == '-' || c == ' ' : c == ']')
            return false;
        isOpen = isOpen ? c != ']' : c == '[';
    }
    return !isOpen;
}

constexpr bool ParseHead(std::string_view line, SmartFamily& family)
{
    Scanner cells(line);
    family.name = WithoutBlanks(cells.TakeUntil('|'));
    family.vendors = WithoutBlanks(cells.TakeUntil('|'));
    family.models = WithoutBlanks(cells.TakeUntil('|'));
    const std::string_view page = cells.TakeUntil('|');
    return cells.IsAtEnd() && !family.name.empty() && !family.vendors.empty() &&
           !family.models.empty() && HasWholeClasses(family.vendors) &&
           HasWholeClasses(family.models) && ParseWords(page, family.page);
}

constexpr bool ParseReadings(std::string_view line, SmartFamily& family)
{
    Scanner cells(line);
    const std::string_view hours = WithoutBlanks(cells.TakeUntil('|'));
    const std::string_view writes = cells.TakeUntil('|');
    const std::string_view used = cells.TakeUntil('|');
    const std::string_view reserve = cells.TakeUntil('|');
    family.source = WithoutBlanks(cells.TakeUntil('|'));
    return cells.IsAtEnd() && !family.source.empty() && Parse(Scanner(hours), family.hours) &&
           ParseWords(writes, family.writes) && ParseWords(used, family.used) &&
           ParseWords(reserve, family.reserve);
}

/// Calls `visit` with each family, made of a line and the indented line below it.
/// @return 0, or the number of the first line that does not follow the notation
template <typename Visit> constexpr std::size_t VisitFamilies(std::string_view text, Visit visit)
{
    Scanner lines(text);
    SmartFamily family;
    bool hasHead = false;
    for (std::size_t number = 1; !lines.IsAtEnd(); ++number)
    {
        const std::string_view line = lines.TakeUntil('\n');
        if (line.empty() || line.front() == '#')
            continue;
        const bool isHead = line.front() != ' ';
        if (isHead)
            family = SmartFamily();
        if (isHead == hasHead || !(isHead ? ParseHead(line, family) : ParseReadings(line, family)))
            return number;
        if (!isHead)
            visit(family);
        hasHead = isHead;
    }
    return 0;
}

/// @return 0 when all lines follow the notation
constexpr std::size_t FirstWrongLine(std::string_view text)
{
    return VisitFamilies(text, [](const SmartFamily&) {});
}

constexpr std::size_t CountFamilies(std::string_view text)
{
    std::size_t count = 0;
    VisitFamilies(text, [&](const SmartFamily&) { ++count; });
    return count;
}

/// The families point into the text, which must live as long as they do.
template <std::size_t Count>
constexpr std::array<SmartFamily, Count> ParseFamilies(std::string_view text)
{
    std::array<SmartFamily, Count> families;
    std::size_t next = 0;
    VisitFamilies(text, [&](const SmartFamily& family) { families[next++] = family; });
    return families;
}

} // namespace PI::Internals
