// Any statement without a column: what is left when its values are taken out of the text and bound
// gives the rows that SQLite gives for the text itself.
// Input: a byte a piece of the text; the signs stand for themselves.
#include "libraries/zelStore/RowUpdate.h"
#include "tests/fuzz/Require.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace
{

using namespace DatabaseWrapper::Internals;

constexpr const char* Pieces[] = {" NULL ",
                                  " ORDER BY ",
                                  " GROUP BY ",
                                  " UNION ALL ",
                                  " SELECT ",
                                  " VALUES ",
                                  " LIMIT ",
                                  " LIKE ",
                                  " CASE WHEN ",
                                  " THEN ",
                                  " ELSE ",
                                  " END ",
                                  " IN ",
                                  " IS ",
                                  " AND ",
                                  " NOT ",
                                  " BETWEEN ",
                                  " CAST(",
                                  " AS TEXT)",
                                  " typeof(",
                                  " x'",
                                  "0x1F",
                                  "1e",
                                  "9223372036854775807",
                                  "9223372036854775808",
                                  "e-5",
                                  ".25",
                                  "--",
                                  "/*",
                                  "*/",
                                  "''",
                                  "\"\"",
                                  "[",
                                  "18446744073709551616",
                                  "WITH t(z) AS (",
                                  " hex(",
                                  "\n",
                                  "'a'",
                                  "\"b/\"",
                                  " quote("};

std::string TextOf(const std::uint8_t* data, std::size_t size)
{
    std::string text = "SELECT ";
    for (const std::uint8_t byte : std::vector(data, data + size))
    {
        const bool isLetter = std::isalpha(byte) != 0; // names of columns are another matter
        const std::size_t piece = isLetter ? byte % 64U : byte - 128U;
        if (byte != 0 && byte < 128 && !isLetter)
            text += static_cast<char>(byte);
        else
            text += Pieces[piece % std::size(Pieces)];
    }
    return text;
}

sqlite3* Database()
{
    static sqlite3* const database = []
    {
        sqlite3* opened = nullptr;
        Require(sqlite3_open(":memory:", &opened) == SQLITE_OK, "a database in memory");
        sqlite3_progress_handler(
            opened, 10000, [](void*) { return 1; }, nullptr);
        return opened;
    }();
    return database;
}

/// The first statement of a text; null for one that SQLite refuses.
StatementHandle Prepared(std::string_view text)
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(Database(), text.data(), static_cast<int>(text.size()), &statement, nullptr);
    return StatementHandle(statement);
}

bool AreSame(sqlite3_stmt* right, sqlite3_stmt* seen, int column)
{
    const int type = sqlite3_column_type(right, column);
    if (type != sqlite3_column_type(seen, column))
        return false;
    if (type == SQLITE_FLOAT) // SQLite rounds the last digit of some numbers otherwise
    {
        const double number = sqlite3_column_double(right, column);
        const double other = sqlite3_column_double(seen, column);
        return number == other || std::abs(number - other) <= 1e-14 * std::abs(number);
    }
    const auto bytes = [&](sqlite3_stmt* row)
    {
        const void* const begin = sqlite3_column_blob(row, column);
        const int size = sqlite3_column_bytes(row, column);
        return std::string(static_cast<const char*>(begin), static_cast<std::size_t>(size));
    };
    return bytes(right) == bytes(seen);
}

void CompareRows(const std::string& text, sqlite3_stmt* right, sqlite3_stmt* seen)
{
    Require(sqlite3_column_count(right) == sqlite3_column_count(seen), "the columns");
    for (int row = 0; row < 10; ++row)
    {
        const int result = sqlite3_step(right);
        Require(sqlite3_step(seen) == result, ("another row: " + text).c_str());
        if (result != SQLITE_ROW)
            return;
        for (int column = 0; column < sqlite3_column_count(right); ++column)
            Require(AreSame(right, seen, column), ("another value: " + text).c_str());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = TextOf(data, size);
    const StatementHandle right = Prepared(text);
    std::string taken = text;
    static StatementReader reader;
    try
    {
        reader.Read(taken);
    }
    catch (const Failure&)
    {
        return 0;
    }
    Require(reader.Parts().size() == 1, "one statement");
    const StatementHandle seen = Prepared(reader.Parts()[0].text);
    const std::vector<Literal>& values = reader.Literals();
    if (!seen || sqlite3_bind_parameter_count(seen.get()) != static_cast<int>(values.size()))
        return 0; // refused as well
    const auto isDigits = [](const Literal& value)
    { return std::holds_alternative<Digits>(value); };
    if (std::ranges::any_of(values, isDigits)) // which are bound as text, to keep each of them
        return 0;
    Require(right != nullptr, ("refused by SQLite: " + text).c_str());
    for (std::size_t i = 0; i < values.size(); ++i)
        Bind(Database(), seen.get(), static_cast<int>(i) + 1, values[i]);
    CompareRows(text, right.get(), seen.get());
    return 0;
}
