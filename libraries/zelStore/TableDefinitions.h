// The SQL that tables, indexes and views are made with.
#pragma once

#include "database/Table.h"

#include <memory>
#include <string>
#include <vector>

namespace DatabaseWrapper::Internals
{

/// A table, an index or a view. The text is written just as SQLite keeps it in its list of what a
/// file holds, so that the two can be compared.
struct Definition
{
    bool holdsRows;   ///< a table; the others can be made anew at any time
    const char* type; ///< "TABLE", "INDEX" or "VIEW"
    std::string name;
    std::string sql;
};

/// In an order in which they can be made.
std::vector<Definition>
MakeDefinitions(const std::vector<std::shared_ptr<DatabaseORM::tableBase_t>>& tables);

} // namespace DatabaseWrapper::Internals
