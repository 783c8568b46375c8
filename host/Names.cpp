#include "host/Names.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <limits>
#include <numeric>
#include <utility>

namespace
{

using Host::NameTable;

constexpr NameTable properties{"properties", "PROP_", Vocabulary::propertyNames};

// Parameters of the command language stand among the properties under a prefix of their own.
std::string_view PrefixOf(const NameTable& table, int number)
{
    const bool isParameter = table.rows == properties.rows && number >= 35000 && number <= 35099;
    return isParameter ? "PARAM_" : table.prefix;
}

std::size_t EditDistance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j)
        {
            const std::size_t swap = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({swap, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

} // namespace

namespace Host
{

const std::array<NameTable, 5>& NameTables()
{
    static const std::array<NameTable, 5> tables{{
        {"errors", "ERR_", Vocabulary::errorNames},
        {"operations", "OP_", Vocabulary::operationNames},
        properties,
        {"values", "VAL_", Vocabulary::valueNames},
        {"events", "EVENT_", Vocabulary::eventNames},
    }};
    return tables;
}

std::optional<std::uint64_t> ParseNumber(std::string_view text)
{
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (hex)
        text.remove_prefix(2);
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, hex ? 16 : 10);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

std::string NormalName(std::string_view text)
{
    std::string name;
    for (const char c : text)
        name += c == ' ' || c == '-'
                    ? '_'
                    : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return name;
}

bool IsNameOf(const NameTable& table, int number, const std::string& rowName,
              const std::string& normal)
{
    if (rowName.empty())
        return false;
    const std::string name = NormalName(rowName);
    const std::string_view prefix = PrefixOf(table, number);
    return normal == name || (normal.size() == prefix.size() + name.size() &&
                              normal.starts_with(prefix) && normal.ends_with(name));
}

std::optional<int> PropertyNumber(const std::string& name)
{
    constexpr int firstProperty = 30000;
    std::optional<int> found;
    for (const auto& [number, rowName] : Vocabulary::propertyNames())
    {
        if (!IsNameOf(properties, number, rowName, name))
            continue;
        if (number >= firstProperty && found.value_or(0) < firstProperty)
            return number;
        found = number;
    }
    return found;
}

std::vector<std::string> SimilarNames(const std::string& name, const Vocabulary::NameMap& rows)
{
    constexpr std::size_t most = 3;
    const std::size_t tolerated = std::max<std::size_t>(name.size() / 3, 1);
    std::vector<std::pair<std::size_t, std::string>> close;
    for (const auto& [number, rowName] : rows)
    {
        if (rowName.empty())
            continue;
        const std::string candidate = NormalName(rowName);
        std::size_t distance = EditDistance(name, candidate);
        // Half a name is as good a hint as a mistyped one.
        if (name.size() >= 3 && candidate.find(name) != std::string::npos)
            distance = std::min(distance, tolerated);
        if (distance <= tolerated)
            close.emplace_back(distance, rowName);
    }
    std::stable_sort(close.begin(), close.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (auto& [distance, rowName] : close)
        if (names.size() < most && std::find(names.begin(), names.end(), rowName) == names.end())
            names.push_back(std::move(rowName));
    return names;
}

std::string DidYouMean(const std::vector<std::string>& names)
{
    if (names.empty())
        return {};
    std::string text = "; did you mean " + names.front();
    for (std::size_t i = 1; i < names.size(); ++i)
        text += (i + 1 == names.size() ? " or " : ", ") + names[i];
    return text + "?";
}

std::string CodeText(std::int32_t code)
{
    const auto row = Vocabulary::errorNames().find(code);
    const bool known = row != Vocabulary::errorNames().end();
    return (known ? row->second : std::string("unknown error")) + " (" + std::to_string(code) + ")";
}

std::string NameOrNumber(const Vocabulary::NameMap& rows, int number)
{
    const auto row = rows.find(number);
    return row != rows.end() && !row->second.empty() ? row->second : std::to_string(number);
}

} // namespace Host
