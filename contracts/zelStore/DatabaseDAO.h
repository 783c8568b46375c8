#pragma once

#include "contracts/Export.h"

#include <string>
#include <vector>

namespace DatabaseWrapper
{

/// A connection to the shared database. Any thread may send statements at any time; they are
/// carried out one after the other.
class ZELSTORE_API DatabaseDAO
{
  public:
    DatabaseDAO();
    virtual ~DatabaseDAO();
    DatabaseDAO(const DatabaseDAO&) = delete;
    DatabaseDAO& operator=(const DatabaseDAO&) = delete;

    /// Carries a text out as a whole: pragmas, and at most one statement that reads or changes
    /// rows. Texts and numbers in it are values, in single or double quotes; a quote inside a value
    /// stands doubled.
    /// @return all cells of all result rows, row after row; a NULL cell is the text "NULL"
    /// @throws DBEXCEPTION::DatabaseException when it is refused, and then nothing has changed
    virtual std::vector<std::string> query(std::string statement) = 0;
};

} // namespace DatabaseWrapper
