#pragma once

#include "contracts/Export.h"

#include <memory>

namespace DatabaseORM
{

/// The storage object of the shared database. Not defined yet: no database is opened so far.
class storage_t;

/// The process's storage object, shared by all who ask. Null while there is no database, and then
/// nothing is stored.
ZELSTORE_API std::shared_ptr<storage_t> getDatabasePointer();

} // namespace DatabaseORM
