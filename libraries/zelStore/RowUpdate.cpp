#include "libraries/zelStore/RowUpdate.h"

#include <algorithm>
#include <cstring>

namespace DatabaseWrapper::Internals
{
namespace
{

// Texts lie in the statement that query was given, and are not copied. Nothing reads them after the
// statement was reset: it is not run again before all its values are bound anew.
struct Binder
{
    sqlite3_stmt* statement;
    int place;

    int operator()(std::nullptr_t) const { return sqlite3_bind_null(statement, place); }
    int operator()(std::int64_t value) const { return sqlite3_bind_int64(statement, place, value); }
    int operator()(double value) const { return sqlite3_bind_double(statement, place, value); }
    int operator()(std::string_view text) const
    {
        return sqlite3_bind_text64(statement, place, text.data(), text.size(), SQLITE_STATIC,
                                   SQLITE_UTF8);
    }
    // As a text, a column for integers would round it to a real.
    int operator()(Digits digits) const
    {
        return sqlite3_bind_blob64(statement, place, digits.text.data(), digits.text.size(),
                                   SQLITE_STATIC);
    }
};

/// Whether a cell holds what the binding of a value would make of it.
struct Comparison
{
    sqlite3_value* cell;
    int type = sqlite3_value_type(cell);

    bool operator()(std::nullptr_t) const { return type == SQLITE_NULL; }
    bool operator()(std::int64_t value) const
    {
        return type == SQLITE_INTEGER && sqlite3_value_int64(cell) == value;
    }
    bool operator()(double value) const
    {
        return type == SQLITE_FLOAT && sqlite3_value_double(cell) == value;
    }
    bool operator()(std::string_view text) const { return type == SQLITE_TEXT && Holds(text); }
    bool operator()(Digits digits) const { return type == SQLITE_BLOB && Holds(digits.text); }

  private:
    bool Holds(std::string_view bytes) const
    {
        const void* const held = sqlite3_value_blob(cell);
        return static_cast<std::size_t>(sqlite3_value_bytes(cell)) == bytes.size() &&
               (bytes.empty() || std::memcmp(held, bytes.data(), bytes.size()) == 0);
    }
};

/// What is left of a text; each of the two takes something off its beginning.
struct Rest
{
    std::string_view text;

    bool Take(std::string_view piece)
    {
        if (!text.starts_with(piece))
            return false;
        text.remove_prefix(piece.size());
        return true;
    }
    std::string TakeName()
    {
        const auto end = std::find_if_not(text.begin(), text.end(),
                                          [](char letter)
                                          {
                                              return (letter >= 'a' && letter <= 'z') ||
                                                     (letter >= 'A' && letter <= 'Z') ||
                                                     (letter >= '0' && letter <= '9') ||
                                                     letter == '_';
                                          });
        std::string name(text.begin(), end);
        text.remove_prefix(name.size());
        return name;
    }
};

/// SQLite takes the last value of a column that is assigned twice.
bool HasTwice(const std::vector<std::string>& names)
{
    for (std::size_t i = 0; i < names.size(); ++i)
        for (std::size_t k = 0; k < i; ++k)
            if (sqlite3_stricmp(names[i].c_str(), names[k].c_str()) == 0)
                return true;
    return false;
}

StatementHandle PrepareReader(sqlite3* database, const std::string& text)
{
    try
    {
        return Prepare(database, text, SQLITE_PREPARE_PERSISTENT);
    }
    catch (const Failure&)
    {
        return nullptr; // what stands behind the condition may follow an UPDATE alone
    }
}

} // namespace

void Bind(sqlite3* database, sqlite3_stmt* statement, int place, const Literal& value)
{
    Check(database, std::visit(Binder{statement, place}, value));
}

std::optional<RowUpdate> RowUpdate::Read(sqlite3* database, std::string_view text)
{
    RowUpdate update;
    Rest rest{text};
    if (!rest.Take("UPDATE ") || (update.m_Table = rest.TakeName()).empty() || !rest.Take(" SET "))
        return {};
    do
    {
        update.m_Columns.push_back(rest.TakeName());
        if (update.m_Columns.back().empty() || !rest.Take("=?"))
            return {};
    } while (rest.Take(", "));
    if (!rest.text.starts_with(" WHERE ") || HasTwice(update.m_Columns))
        return {};
    update.m_Condition = rest.text;

    std::string reader = "SELECT ";
    for (const std::string& column : update.m_Columns)
        reader.append(column).append(&column == &update.m_Columns.back() ? " FROM " : ", ");
    update.m_Reader = PrepareReader(database, reader + update.m_Table + update.m_Condition);
    if (!update.m_Reader)
        return {};
    return update;
}

RowUpdate::Outcome RowUpdate::Compare(sqlite3* database, std::span<const Literal> values,
                                      std::vector<std::size_t>& columns) const
{
    sqlite3_stmt* const row = m_Reader.get();
    int place = 0;
    for (const Literal& value : values.subspan(m_Columns.size()))
        Bind(database, row, ++place, value);
    const RunEnd end(row);
    int result = sqlite3_step(row);
    if (result == SQLITE_DONE)
        return Outcome::NoRow;
    if (result != SQLITE_ROW)
        Fail(database, result);

    columns.clear();
    for (std::size_t column = 0; column < m_Columns.size(); ++column)
        if (!std::visit(Comparison{sqlite3_column_value(row, static_cast<int>(column))},
                        values[column]))
            columns.push_back(column);
    result = sqlite3_step(row);
    if (result == SQLITE_ROW)
        return Outcome::SeveralRows;
    if (result != SQLITE_DONE)
        Fail(database, result);
    return columns.empty() ? Outcome::Same : Outcome::Different;
}

std::string RowUpdate::TextFor(const std::vector<std::size_t>& columns) const
{
    std::string text = "UPDATE " + m_Table + " SET ";
    for (const std::size_t column : columns)
        text.append(m_Columns[column]).append(column == columns.back() ? "=?" : "=?, ");
    return text += m_Condition;
}

} // namespace DatabaseWrapper::Internals
