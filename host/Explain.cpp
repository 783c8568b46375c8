#include "host/Failure.h"
#include "host/Json.h"
#include "host/Meanings.h"
#include "host/Names.h"
#include "host/Text.h"
#include "host/Verbs.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

namespace
{

using Host::Json;
using Host::NameTable;

// What was typed, as it is compared with the rows of one table.
struct Query
{
    std::optional<std::uint64_t> number;
    std::string name;

    bool Matches(const NameTable& table, int rowNumber, const std::string& rowName) const
    {
        if (number)
            return *number == static_cast<std::uint64_t>(rowNumber);
        // Programs know a name by its prefix: ERR_GENERAL is the error, not the rest.
        return Host::IsNameOf(table, rowNumber, rowName, name);
    }
};

Json Select(const std::string& query)
{
    const Query wanted{Host::ParseNumber(query), Host::NormalName(query)};
    Json found;
    for (const NameTable& table : Host::NameTables())
    {
        Json rows = Json::object();
        for (const auto& [number, name] : table.rows())
            if (query.empty() || wanted.Matches(table, number, name))
                rows[std::to_string(number)] = name;
        found[table.name] = rows;
    }
    return found;
}

bool IsEmpty(const Json& found)
{
    for (const Json& rows : found)
        if (!rows.empty())
            return false;
    return true;
}

[[noreturn]] void FailUnknown(const std::string& query)
{
    if (Host::ParseNumber(query))
        throw Host::Failure(Host::EXIT_USAGE, "no table of the vocabulary has number " + query);
    Vocabulary::NameMap all; // the tables have numbers in common, so they are counted anew
    for (const NameTable& table : Host::NameTables())
        for (const auto& row : table.rows())
            all.emplace_hint(all.end(), static_cast<int>(all.size()), row.second);
    throw Host::Failure(Host::EXIT_USAGE,
                        "no table of the vocabulary has '" + query + "'" +
                            Host::DidYouMean(Host::SimilarNames(Host::NormalName(query), all)));
}

/// @param withMeanings  a second line for what has more to say than its name
std::string Lines(const Json& found, bool withMeanings)
{
    constexpr std::size_t tableColumns = 12;
    std::size_t numberColumns = 7;
    for (const Json& rows : found)
        for (const auto& row : rows.items())
            numberColumns = std::max(numberColumns, row.key().size() + 2);
    std::string text;
    for (const auto& [table, rows] : found.items())
        for (const auto& [number, name] : rows.items())
        {
            const auto& shown = name.get_ref<const std::string&>();
            text += Host::PadRight(table, tableColumns) + Host::PadRight(number, numberColumns) +
                    (shown.empty() ? "-" : shown) + "\n";
            if (const std::string_view meaning = Host::MeaningOf(std::stoi(number));
                withMeanings && !meaning.empty())
                text += std::string(tableColumns, ' ') + std::string(meaning) + "\n";
        }
    return text;
}

} // namespace

namespace Host
{

ExitCode Explain(const Options& options, Output& output)
{
    const Json found = Select(options.query);
    if (IsEmpty(found))
        FailUnknown(options.query);
    output.Write(options.json ? JsonText(found) : Lines(found, !options.query.empty()));
    return EXIT_DONE;
}

} // namespace Host
