// An open file that was removed, replaced or overwritten.
#pragma once

#include "libraries/zelStore/Sqlite.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace DatabaseWrapper::Internals
{

/// Tells files apart whatever they are called; none for a file that is not there.
using FileIdentity = std::optional<std::pair<std::uint64_t, std::uint64_t>>;

/// The log of an open database, as it stands beside it.
FileIdentity LogOf(sqlite3* database);

/// Whether another file or none stands where the open one was.
bool HasMoved(sqlite3* database);

/// Whether the open file no longer begins as a database of ours: something else was written into
/// it. A backup of ours that was written into it cannot be told from it.
bool WasOverwritten(sqlite3* database);

/// Prepares for opening the path anew: the log stays off what stands in the file now.
/// @param log  what LogOf told after opening
/// @return the log when it could not be taken away, as the system keeps open files: RemoveLog shall
/// do that once the database is closed
FileIdentity LeaveOverwrittenFile(sqlite3* database, const FileIdentity& log);

/// Takes the log of a database away, unless by now another one or none stands there.
void RemoveLog(const std::string& path, const FileIdentity& log);

/// Prepares for opening the path anew. Where no file stands, one with all the contents is put there
/// in one step, unless another process is first. The log of the old file is taken away, so that it
/// is never taken for that of the new one.
/// @param log  what LogOf told after opening
/// @throws Failure when that could not be done; the connection can still be used for another try
void LeaveMovedFile(sqlite3* database, const FileIdentity& log);

} // namespace DatabaseWrapper::Internals
