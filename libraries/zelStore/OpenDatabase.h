// Opening the database file.
#pragma once

#include "libraries/zelStore/Sqlite.h"
#include "libraries/zelStore/TableDefinitions.h"

#include <string>
#include <vector>

namespace DatabaseWrapper::Internals
{

/// Opens a file that is ours, or makes a missing one together with its folders. A file that this
/// process may only read is opened for reading, and that is good for one statement: where nobody
/// else has it open, it is taken for one that does not change, so that nothing is put beside it.
/// @param path          or inMemory
/// @param milliseconds  how long its statements wait for a lock
/// @throws Failure when the file cannot be used; it is as it was then, as is what lies beside it. A
///         link that others may have put into its path makes it one
DatabaseHandle OpenDatabase(const std::string& path, const std::vector<Definition>& definitions,
                            int milliseconds);

/// With those above it, and with the rights that ours have.
/// @throws Failure
void MakeFolderOf(const std::string& path);

/// An empty file with the rights that ours have; nothing where one stands.
/// @throws Failure
void MakeFile(const std::string& path);

} // namespace DatabaseWrapper::Internals
