#pragma once

#include <string>
#include <vector>

namespace Host
{

/// How the table of drives is to look.
struct TableStyle
{
    bool isWide = false; ///< as wide as it takes, whatever the terminal
    bool hasHeader = true;
    std::vector<std::string> columns; ///< by key; empty: the usual ones that have a value
    std::string sort;                 ///< by key; empty: by disk
};

} // namespace Host
