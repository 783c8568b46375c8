// The texts of help.
#pragma once

#include "host/VerbTable.h"

#include <string>

namespace Host
{

std::string GeneralHelp();

/// @param app  the verb's, with its arguments
std::string VerbHelp(const VerbRow& row, const CLI::App& app);

} // namespace Host
