// The rows of drives and partitions as the views of the database show them, and as they must be.
#pragma once

#include "tests/support/DriveModel.h"

#include <string>
#include <vector>

namespace Support
{

using Texts = std::vector<std::string>;

/// @param drives  as the machine held them in the last pass
Texts ExpectedRows(const std::vector<PI::CObject>& topology, const Drives& drives);

/// @param file  the database
Texts ShownRows(const std::string& file);

} // namespace Support
