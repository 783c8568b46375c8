#include "host/Failure.h"
#include "host/JsonWriter.h"
#include "host/Meanings.h"
#include "host/Names.h"
#include "host/Text.h"
#include "host/Verbs.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using Host::JsonWriter;
using Host::NameTable;

struct Row
{
    const NameTable* table;
    int number;
    std::string name;

    /// A view mask has all 32 bits and no sign.
    std::string NumberText() const { return std::to_string(static_cast<std::uint32_t>(number)); }
    std::string_view Meaning() const { return Host::MeaningOf(*table, number); }
};

// What was typed, as it is compared with the rows of one table.
class Query
{
  public:
    /// @param text  empty for everything
    explicit Query(const std::string& text)
        : m_IsEmpty(text.empty()), m_Number(Host::ParseNumber(text)), m_Name(Host::NormalName(text))
    {
    }

    bool Matches(const Row& row) const
    {
        if (m_IsEmpty)
            return true;
        if (m_Number)
            return *m_Number == static_cast<std::uint32_t>(row.number) || IsBit(row);
        // Programs know a name by its prefix: ERR_GENERAL is the error, not the rest.
        return Host::IsNameOf(*row.table, row.number, row.name, m_Name);
    }

  private:
    /// A view mask is explained bit by bit, if each of its bits has a name.
    bool IsBit(const Row& row) const
    {
        constexpr std::uint64_t known = Host::VIEW_BIT_0 | Host::VIEW_BIT_2 | Host::VIEW_BIT_3;
        const auto bit = static_cast<std::uint64_t>(row.number);
        return row.table->rows == Host::ViewNames && row.number > 0 && (*m_Number & ~known) == 0 &&
               (*m_Number & bit) != 0;
    }

    bool m_IsEmpty;
    std::optional<std::uint64_t> m_Number;
    std::string m_Name;
};

std::vector<Row> Select(const Query& query)
{
    std::vector<Row> found;
    for (const NameTable& table : Host::NameTables())
        for (const auto& [number, name] : table.rows())
            if (const Row row{&table, number, name}; query.Matches(row))
                found.push_back(row);
    return found;
}

[[noreturn]] void FailUnknown(const std::string& query)
{
    if (Host::ParseNumber(query))
        throw Host::Failure(Host::EXIT_USAGE, "no table of the vocabulary has number " + query);
    std::vector<std::string> names;
    for (const Row& row : Select(Query("")))
        names.push_back(row.name);
    throw Host::Failure(Host::EXIT_USAGE, "no table of the vocabulary has '" + query + "'" +
                                              Host::DidYouMean(Host::SimilarNames(query, names)));
}

/// The rows of each table as a member of its own.
/// @param text  that stands at a number; one that is empty is left out
/// @param keepsEmpty  whether a table without rows stays
void WriteTables(JsonWriter& json, const std::vector<Row>& rows, bool keepsEmpty,
                 std::string_view (*text)(const Row&))
{
    for (const NameTable& table : Host::NameTables())
    {
        const auto isTold = [&](const Row& row)
        { return row.table == &table && (keepsEmpty || !text(row).empty()); };
        if (!keepsEmpty && std::ranges::none_of(rows, isTold))
            continue;
        json.Key(table.name);
        json.BeginObject();
        for (const Row& row : rows)
            if (isTold(row))
                json.Member(row.NumberText(), text(row));
        json.EndObject();
    }
}

/// Numbers and their names by table, and what they mean in the same form.
void WriteJson(const std::vector<Row>& rows, Host::Output& output)
{
    JsonWriter json(output);
    json.BeginDocument();
    WriteTables(json, rows, true, [](const Row& row) { return std::string_view(row.name); });
    const auto meaning = [](const Row& row) { return row.Meaning(); };
    if (std::ranges::any_of(rows, [&](const Row& row) { return !meaning(row).empty(); }))
    {
        json.Key("meaning");
        json.BeginObject();
        WriteTables(json, rows, false, meaning);
        json.EndObject();
    }
    json.EndObject();
    json.Finish();
}

/// @param columns  where the lines of a meaning are broken; 0 leaves the meanings out
std::string Lines(const std::vector<Row>& rows, std::size_t columns)
{
    constexpr std::size_t tableColumns = 12;
    std::size_t numberColumns = 7;
    for (const Row& row : rows)
        numberColumns = std::max(numberColumns, row.NumberText().size() + 2);
    const std::string indent(tableColumns, ' ');
    std::string text;
    for (const Row& row : rows)
    {
        const std::string line = Host::PadRight(row.table->name, tableColumns) +
                                 Host::PadRight(row.NumberText(), numberColumns) +
                                 (row.name.empty() ? "-" : row.name);
        text += (columns == 0 ? line : Host::Wrapped(line, columns, indent)) + "\n";
        if (const std::string_view meaning = row.Meaning(); columns != 0 && !meaning.empty())
            text += Host::Wrapped(indent + std::string(meaning), columns, indent) + "\n";
    }
    return text;
}

} // namespace

namespace Host
{

ExitCode Explain(const Options& options, Output& output)
{
    const std::vector<Row> found = Select(Query(options.query));
    if (found.empty())
        FailUnknown(options.query);
    if (options.json)
        WriteJson(found, output);
    else
        output.Write(Lines(found, options.all ? 0 : output.Columns()));
    return EXIT_DONE;
}

} // namespace Host
