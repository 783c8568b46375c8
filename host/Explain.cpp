#include "host/Failure.h"
#include "host/JsonWriter.h"
#include "host/Meanings.h"
#include "host/Names.h"
#include "host/SmartNames.h"
#include "host/Text.h"
#include "host/Verbs.h"
#include "host/Words.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace
{

using Host::JsonWriter;
using Host::NameTable;

/// A line of a table, or a word.
struct Row
{
    const NameTable* table; ///< null for a word
    int number;
    std::string name;
    std::string meaning; ///< empty when there is no more to say

    /// A view mask has all 32 bits and no sign.
    std::string NumberText() const { return std::to_string(static_cast<std::uint32_t>(number)); }
};

std::string MeaningText(const NameTable& table, int number)
{
    std::string text(Host::MeaningOf(table, number));
    if (table.rows != Host::SmartNames)
        return text;
    const std::string failure = Host::SmartFailure(static_cast<std::uint8_t>(number));
    if (!failure.empty())
        text += (text.empty() ? "" : " ") + ("At its threshold: " + failure + '.');
    return text;
}

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
            return row.table != nullptr &&
                   (*m_Number == static_cast<std::uint32_t>(row.number) || IsBit(row));
        if (row.table == nullptr)
            return Host::NormalName(row.name) == m_Name;
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
    const auto take = [&](const Row& row)
    {
        if (query.Matches(row))
            found.push_back(row);
    };
    for (const NameTable& table : Host::NameTables())
        for (const auto& [number, name] : table.rows())
            take({&table, number, name, MeaningText(table, number)});
    for (const Host::Word& word : Host::Words())
        take({nullptr, 0, std::string(word.text), std::string(word.meaning)});
    return found;
}

[[noreturn]] void FailUnknown(const std::string& query)
{
    if (Host::ParseNumber(query))
        throw Host::Failure(Host::EXIT_USAGE, "there is no number " + query + " to explain");
    std::vector<std::string> names;
    for (const Row& row : Select(Query("")))
        names.push_back(row.name);
    throw Host::Failure(Host::EXIT_USAGE, "there is no '" + query + "' to explain" +
                                              Host::DidYouMean(Host::SimilarNames(query, names)));
}

/// The rows of each table as a member of its own.
/// @param text  that stands at a number; one that is empty is left out
/// @param keepsEmpty  whether a table without rows stays
void WriteTables(JsonWriter& json, const std::vector<Row>& rows, bool keepsEmpty,
                 const std::string Row::*text)
{
    for (const NameTable& table : Host::NameTables())
    {
        const auto isTold = [&](const Row& row)
        { return row.table == &table && (keepsEmpty || !(row.*text).empty()); };
        if (!keepsEmpty && std::ranges::none_of(rows, isTold))
            continue;
        json.Key(table.name);
        json.BeginObject();
        for (const Row& row : rows)
            if (isTold(row))
                json.Member(row.NumberText(), row.*text);
        json.EndObject();
    }
}

void WriteWords(JsonWriter& json, const std::vector<Row>& rows)
{
    json.Key("words");
    json.BeginObject();
    for (const Row& row : rows)
        if (row.table == nullptr)
            json.Member(row.name, row.meaning);
    json.EndObject();
}

/// Numbers and their names by table, what they mean in the same form, and words with their meaning.
void WriteJson(const std::vector<Row>& rows, Host::Output& output)
{
    JsonWriter json(output);
    json.BeginDocument();
    WriteTables(json, rows, true, &Row::name);
    WriteWords(json, rows);
    if (std::ranges::any_of(rows, [](const Row& row)
                            { return row.table != nullptr && !row.meaning.empty(); }))
    {
        json.Key("meaning");
        json.BeginObject();
        WriteTables(json, rows, false, &Row::meaning);
        json.EndObject();
    }
    json.EndObject();
    json.Finish();
}

constexpr std::size_t tableColumns = 12;

/// The first line of a row.
std::string Head(const Row& row, std::size_t numberColumns)
{
    if (row.table == nullptr)
        return Host::PadRight("words", tableColumns) + row.name;
    return Host::PadRight(row.table->name, tableColumns) +
           Host::PadRight(row.NumberText(), numberColumns) + (row.name.empty() ? "-" : row.name);
}

/// @param columns  where the lines of a meaning are broken; 0 leaves the meanings out
std::string Lines(const std::vector<Row>& rows, std::size_t columns)
{
    std::size_t numberColumns = 7;
    for (const Row& row : rows)
        numberColumns = std::max(numberColumns, row.NumberText().size() + 2);
    const std::string indent(tableColumns, ' ');
    std::string text;
    for (const Row& row : rows)
    {
        const std::string line = Head(row, numberColumns);
        text += (columns == 0 ? line : Host::Wrapped(line, columns, indent)) + "\n";
        if (columns != 0 && !row.meaning.empty())
            text += Host::Wrapped(indent + row.meaning, columns, indent) + "\n";
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
