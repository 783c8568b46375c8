// The attributes of a drive's SMART page for people.
#pragma once

#include "host/Drive.h"

#include <string>

namespace Host
{

/// A line for each attribute, below a line of titles: id, name, value, worst, threshold, margin,
/// raw value, and what of the drive's readings rests on it. Empty for a drive without a page.
/// @param indent  in front of each line
std::string AttributeTable(const Drive& drive, const std::string& indent);

} // namespace Host
