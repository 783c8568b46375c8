// An update of one row that writes only what differs.
//
// An UPDATE writes pages to the disk whether it changes anything or not. What a row holds is
// therefore compared with what it shall hold, and only the columns that differ are written.
#pragma once

#include "libraries/zelStore/Sqlite.h"
#include "libraries/zelStore/StatementReader.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace DatabaseWrapper::Internals
{

/// A prepared statement's place takes a value. Texts are not copied.
void Bind(sqlite3* database, sqlite3_stmt* statement, int place, const Literal& value);

/// Belongs to one database.
class RowUpdate
{
  public:
    /// @param text  "UPDATE t SET a=?, b=? WHERE ...", with a "?" for each value
    /// @return none for a text of another form
    static std::optional<RowUpdate> Read(sqlite3* database, std::string_view text);

    enum class Outcome
    {
        NoRow,
        Same,
        Different,
        SeveralRows,
    };

    /// Compares the row with the values of the statement. Where the types differ, the values count
    /// as different.
    /// @param columns  gets the places of those that differ
    /// @throws Failure
    Outcome Compare(sqlite3* database, std::span<const Literal> values,
                    std::vector<std::size_t>& columns) const;

    /// The update of some columns alone.
    std::string TextFor(const std::vector<std::size_t>& columns) const;

    /// How many values stand before those of the condition.
    std::size_t Columns() const { return m_Columns.size(); }

  private:
    RowUpdate() = default;

    std::string m_Table;
    std::vector<std::string> m_Columns;
    std::string m_Condition;
    StatementHandle m_Reader; ///< reads the columns of the row
};

} // namespace DatabaseWrapper::Internals
