// Whether an open database is ours, and its tables.
#pragma once

#include "libraries/zelStore/Sqlite.h"
#include "libraries/zelStore/TableDefinitions.h"

#include <cstdint>
#include <vector>

namespace DatabaseWrapper::Internals
{

/// What our files carry as their application_id: "TRNS".
inline constexpr std::int64_t applicationId = 0x54524E53;

/// Checks a file without writing to it, and fails as AdoptDatabase does.
/// @param hasUnfinished  changes to the file lie beside it: only what was in it from its beginning
///                       is looked at, and it may be cut off
void CheckDatabase(sqlite3* database, const std::vector<Definition>& definitions,
                   bool hasUnfinished);

/// Checks that the database holds our tables as they are defined. An empty one gets them, and views
/// and indexes that differ are made anew, each in one transaction: whoever else opens the file, or
/// when this process ends, all of it is there or nothing. A read-only database is only checked.
/// @throws Failure for a database of another program, another version or with changed tables;
///         nothing was written then
void AdoptDatabase(sqlite3* database, const std::vector<Definition>& definitions);

} // namespace DatabaseWrapper::Internals
