#include "host/Names.h"

#include "host/Lists.h"
#include "host/SmartNames.h"

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

/// Letters to insert, to remove, to replace, or to swap with their neighbours.
std::size_t EditDistance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> before(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        before.swap(last);
        last.swap(row);
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j)
        {
            row[j + 1] = std::min({last[j] + (a[i] == b[j] ? 0 : 1), last[j + 1] + 1, row[j] + 1});
            if (i > 0 && j > 0 && a[i] == b[j - 1] && a[i - 1] == b[j])
                row[j + 1] = std::min(row[j + 1], before[j - 1] + 1);
        }
    }
    return row.back();
}

/// Whether the text is what some of the name's words begin with: POWER HOU in POWER_HOURS_TOTAL.
bool IsPartOf(const std::string& wanted, std::string_view name)
{
    constexpr std::size_t least = 3;
    if (wanted.size() < least)
        return false;
    for (std::size_t at = 0; at < name.size(); ++at)
        if ((at == 0 || std::string_view(" -_").find(name[at - 1]) != std::string_view::npos) &&
            Host::NormalName(name.substr(at)).starts_with(wanted))
            return true;
    return false;
}

/// How far a name is from what was typed, in its normal form; nothing for one that is not similar.
std::optional<std::size_t> Distance(const std::string& wanted, std::string_view name)
{
    constexpr std::size_t shortWord = 4; // many others are one letter away from it
    const std::string candidate = Host::NormalName(name);
    if (wanted.empty() || candidate.empty())
        return std::nullopt;
    const std::size_t tolerated = std::max<std::size_t>(wanted.size() / 4, 1);
    const std::size_t distance = EditDistance(wanted, candidate);
    const bool isMistyped =
        distance <= tolerated && (wanted.size() > shortWord || wanted[0] == candidate[0]);
    // Half a name is as good a hint as a mistyped one.
    if (IsPartOf(wanted, name))
        return std::min(distance, tolerated);
    return isMistyped ? std::optional(distance) : std::nullopt;
}

} // namespace

namespace Host
{

const std::array<NameTable, 9>& NameTables()
{
    static const std::array<NameTable, 9> tables{{
        {"errors", "ERR_", Vocabulary::errorNames},
        {"operations", "OP_", Vocabulary::operationNames},
        properties,
        {"values", "VAL_", Vocabulary::valueNames},
        {"events", "EVENT_", Vocabulary::eventNames},
        {"objectTypes", "OBJECT_", Vocabulary::objectTypeNames},
        {"units", "UNIT_", Vocabulary::unitNames},
        {"views", "VIEW_", ViewNames},
        {"attributes", "SMART_", SmartNames},
    }};
    return tables;
}

const Vocabulary::NameMap& ViewNames()
{
    static const Vocabulary::NameMap views{{VIEW_NONE, "NONE"},
                                           {VIEW_BIT_0, "BIT_0"},
                                           {VIEW_BIT_2, "BIT_2"},
                                           {VIEW_BIT_3, "BIT_3"},
                                           {VIEW_ALL, "ALL"}};
    return views;
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
        if (c != ' ' && c != '-' && c != '_')
            name += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return name;
}

bool IsNameOf(const NameTable& table, int number, const std::string& rowName,
              const std::string& normal)
{
    if (rowName.empty())
        return false;
    const std::string name = NormalName(rowName);
    const std::string prefix = NormalName(PrefixOf(table, number));
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

std::vector<std::string> NamesOf(const Vocabulary::NameMap& rows)
{
    std::vector<std::string> names;
    for (const auto& [number, name] : rows)
        names.push_back(name);
    return names;
}

std::vector<std::string> SimilarNames(std::string_view typed, const std::vector<std::string>& names)
{
    constexpr std::size_t most = 3;
    constexpr std::size_t longest = 100; // no name is
    const std::string wanted = NormalName(typed.substr(0, longest));
    std::vector<std::pair<std::size_t, std::string>> close;
    for (const std::string& name : names)
        if (const auto distance = Distance(wanted, name))
            close.emplace_back(*distance, name);
    std::stable_sort(close.begin(), close.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> similar;
    for (auto& [distance, name] : close)
        if (similar.size() < most &&
            std::find(similar.begin(), similar.end(), name) == similar.end())
            similar.push_back(std::move(name));
    return similar;
}

std::string DidYouMean(const std::vector<std::string>& names)
{
    if (names.empty())
        return {};
    return "; did you mean " + Enumerated(names, "or") + "?";
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
