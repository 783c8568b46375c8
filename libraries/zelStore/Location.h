// Which file the shared database is.
#pragma once

#include <string>

namespace DatabaseWrapper::Internals
{

/// The name that stands for a database in memory.
inline constexpr const char* inMemory = ":memory:";

/// The file that the environment names at this moment, as an absolute path, or inMemory. Where it
/// names none, a machine file has a database of its own beside that of the computer. Empty when
/// there is no place for it.
std::string LocateDatabase();

} // namespace DatabaseWrapper::Internals
