#pragma once

#include "contracts/Export.h"

#include <string>

namespace ZKT::Misc
{

/// The value of a variable of the environment, in UTF-8 on every system; empty when it is not set.
ZELKIT_API std::string GetVariable(const char* name);

/// Sets a variable for this process. Not to be called beside threads that read the environment.
/// @return false when the system does not do it
ZELKIT_API bool SetVariable(const char* name, const std::string& value);

} // namespace ZKT::Misc
