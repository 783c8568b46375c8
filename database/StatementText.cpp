#include "database/StatementText.h"

#include "database/Kinds.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace DatabaseORM
{
namespace
{

constexpr std::string_view separator = ", ";
constexpr char listSeparator = '?';

template <class Number> void AppendNumber(std::string& text, Number value)
{
    char digits[24];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

/// A value between double quotes, or the keyword in place of the text that means unset.
bool CloseText(std::string& text, std::size_t begin)
{
    if (std::string_view(text).substr(begin + 1) != RaidDataModels::unsetText)
    {
        text += '"';
        return true;
    }
    text.replace(begin, std::string::npos, sqlNullKeyword);
    return false;
}

bool AppendNull(std::string& text)
{
    text += sqlNullKeyword;
    return false;
}

} // namespace

void AppendPlain(std::string& text, std::int32_t value)
{
    AppendNumber(text, value);
}

void AppendPlain(std::string& text, std::uint64_t value)
{
    AppendNumber(text, value);
}

void AppendPlain(std::string& text, const std::string& value)
{
    text += value;
}

bool AppendValue(std::string& text, std::int32_t value)
{
    if (value == RaidDataModels::Kinds::Int::Unset())
        return AppendNull(text);
    AppendNumber(text, value);
    return true;
}

bool AppendValue(std::string& text, std::uint64_t value)
{
    if (value == RaidDataModels::Kinds::Unsigned::Unset())
        return AppendNull(text);
    AppendNumber(text, value);
    return true;
}

bool AppendValue(std::string& text, const std::string& value)
{
    const std::size_t begin = text.size();
    text.append("\"").append(value);
    return CloseText(text, begin);
}

bool AppendValue(std::string& text, const std::vector<std::string>& value)
{
    const std::size_t begin = text.size();
    text += '"';
    for (const std::string& element : value)
        text.append(element) += listSeparator;
    if (!value.empty())
        text.pop_back();
    return CloseText(text, begin);
}

bool AppendValue(std::string& text, double value)
{
    constexpr int decimals = 6;
    if (!std::isfinite(value) || value == RaidDataModels::Kinds::Real::Unset())
        return AppendNull(text);
    char digits[std::numeric_limits<double>::max_exponent10 + decimals + 8];
    const char* end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals)
            .ptr;
    const std::string_view shown(digits, static_cast<std::size_t>(end - digits));
    if (shown == "0.000000")
        return AppendNull(text);
    text += shown;
    return true;
}

template <class Append> void ColumnTexts::Join(std::string& text, Append append) const
{
    const std::size_t begin = text.size();
    for (const Column& column : m_Columns)
        if (column.name != nullptr && append(column))
            text += separator;
    if (text.size() > begin)
        text.resize(text.size() - separator.size());
}

void ColumnTexts::AppendNames(std::string& text) const
{
    Join(text,
         [&text](const Column& column)
         {
             text += *column.name;
             return !column.name->empty();
         });
}

void ColumnTexts::AppendValues(std::string& text) const
{
    Join(text,
         [&](const Column& column)
         {
             text.append(m_Values, column.begin, column.length);
             return true;
         });
}

void ColumnTexts::AppendAssignments(std::string& text) const
{
    Join(text,
         [&](const Column& column)
         {
             text.append(*column.name).append("=").append(m_Values, column.begin, column.length);
             return true;
         });
}

std::size_t ColumnTexts::Size() const
{
    std::size_t size = m_Values.size();
    for (const Column& column : m_Columns)
        size += separator.size() + 1 + (column.name != nullptr ? column.name->size() : 0);
    return size;
}

} // namespace DatabaseORM
