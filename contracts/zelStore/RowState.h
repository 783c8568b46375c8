#pragma once

#include "contracts/Export.h"

#include <string>

namespace DatabaseWrapper
{

/// Tells whether rows could not be written to the shared database when that was last tried: the
/// file could not be opened, or a statement failed for a reason that is not its own. The next
/// statement that writes a row ends that. Any thread, at any time; touches no disk.
/// @param message  which database, what is wrong, and what to do: one line, empty when rows are
///                 written, and in a process without a storage object
/// @return true when rows are not written
ZELSTORE_API bool AreRowsRefused(std::string& message);

/// The file of the shared database, as the environment names it at this moment: an absolute path.
/// Empty for a database in memory, and when there is no place for one.
ZELSTORE_API std::string DatabaseFile();

} // namespace DatabaseWrapper
