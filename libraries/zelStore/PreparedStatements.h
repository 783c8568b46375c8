// Statements that were prepared once and are used again.
#pragma once

#include "libraries/zelStore/RowUpdate.h"
#include "libraries/zelStore/Sqlite.h"

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

namespace DatabaseWrapper::Internals
{

struct PreparedStatement
{
    std::string text;
    StatementHandle statement;
    std::optional<RowUpdate> update; ///< none for any other statement
};

/// Keeps those used last. Belongs to one database, and is emptied before that is closed.
class PreparedStatements
{
  public:
    static constexpr std::size_t capacity = 64;

    /// The statement of a text, made where it is not there yet. Good for some more calls.
    /// @param values  how many are to be bound; a text that asks for others is refused
    /// @throws Failure
    const PreparedStatement& Get(sqlite3* database, std::string_view text, std::size_t values);

    void Clear();

  private:
    using Entries = std::list<PreparedStatement>;

    Entries m_Entries; ///< the last used one first
    std::unordered_map<std::string_view, Entries::iterator> m_ByText;
};

} // namespace DatabaseWrapper::Internals
