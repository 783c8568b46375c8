// The attributes of a drive's SMART page for people.
#pragma once

#include "host/Drive.h"
#include "host/ShowText.h"

#include <string>

namespace Host
{

/// A line for each attribute, below a line of titles: id, name, value, worst, threshold, margin,
/// raw value, and what of the drive's readings rests on it. Empty for a drive without a page. On a
/// narrow terminal columns go as in the table of drives.
/// @param indent  in front of each line
std::string AttributeTable(const Drive& drive, const std::string& indent, const Style& style);

} // namespace Host
