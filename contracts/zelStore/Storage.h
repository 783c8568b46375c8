#pragma once

#include "contracts/Export.h"

#include <memory>

namespace DatabaseORM
{

/// The storage object of the shared database: maps, tables and the way to the connection
/// (database/Storage.h).
class storage_t;

/// A storage object for the caller, with all maps and tables in place. All objects of a process
/// share one connection, which any thread may use at any time; one object is used by one thread at
/// a time. The file is opened by the first statement, so that the call itself touches no disk. It
/// never gives null. Which file it is, the environment says (TARNIS_DATABASE) at the call that
/// finds no other storage object in the process; later ones share that one's.
ZELSTORE_API std::shared_ptr<storage_t> getDatabasePointer();

} // namespace DatabaseORM
