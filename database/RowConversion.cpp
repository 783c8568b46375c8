#include "database/RowConversion.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

namespace DatabaseORM
{
namespace
{

/// What std::stoi and its kin, and streams, pass over before a number.
std::string_view WithoutLead(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(" \t\n\v\f\r");
    if (begin == std::string_view::npos)
        return {};
    text.remove_prefix(begin);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    return text;
}

template <class Number> std::errc ParseLeading(std::string_view text, Number& value)
{
    text = WithoutLead(text);
    return std::from_chars(text.data(), text.data() + text.size(), value).ec;
}

/// In the manner of std::stoi and its kin, without the host's locale.
template <class Number> std::optional<Number> Parsed(const std::string& cell)
{
    Number value{};
    if (ParseLeading(cell, value) != std::errc())
        return std::nullopt;
    return value;
}

} // namespace

void ReadCell(const std::string& cell, std::int32_t& value)
{
    value = Parsed<std::int32_t>(cell).value_or(RaidDataModels::Kinds::Int::Unset());
}

void ReadCell(const std::string& cell, std::uint64_t& value)
{
    const std::optional<std::int64_t> number = Parsed<std::int64_t>(cell);
    value = number ? static_cast<std::uint64_t>(*number) : RaidDataModels::Kinds::Unsigned::Unset();
}

void ReadCell(const std::string& cell, std::string& value)
{
    value = cell;
}

void ReadCell(const std::string& cell, std::vector<std::string>& value)
{
    boost::algorithm::split(value, cell, boost::algorithm::is_any_of("?"));
    std::erase(value, std::string());
}

void ReadCell(const std::string& cell, double& value)
{
    value = Parsed<double>(cell).value_or(RaidDataModels::Kinds::Real::Unset());
}

std::int32_t StreamedInt(std::string_view text)
{
    std::int32_t value = 0;
    if (ParseLeading(text, value) != std::errc::result_out_of_range)
        return value;
    return WithoutLead(text).front() == '-' ? std::numeric_limits<std::int32_t>::min()
                                            : std::numeric_limits<std::int32_t>::max();
}

std::uint64_t StreamedUnsigned(std::string_view text)
{
    text = WithoutLead(text);
    const bool isNegative = text.starts_with('-');
    std::uint64_t value = 0;
    const char* begin = text.data() + (isNegative ? 1 : 0);
    if (std::from_chars(begin, text.data() + text.size(), value).ec ==
        std::errc::result_out_of_range)
        return std::numeric_limits<std::uint64_t>::max();
    return isNegative ? std::uint64_t{0} - value : value; // as a stream counts down from zero
}

} // namespace DatabaseORM
