// Texts on their way to a terminal. What a drive calls itself may hold any bytes; nothing of it may
// reach a terminal as a command, and columns stay aligned by what the eye sees.
#pragma once

#include "contracts/zelKit/Text.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Host
{

/// The text made safe (ZKT::Misc::Printable). Where the terminal takes no UTF-8, degrees Celsius
/// lose their sign, and what else is not ASCII is escaped.
std::string Printable(std::string_view bytes);

/// Columns that a printable text takes on a terminal; colours in it take none.
std::size_t DisplayWidth(std::string_view printable);

/// Breaks a printable text into pieces of at most so many columns: at a blank, a dash or an
/// underscore where there is one, else anywhere. At least one piece. Blanks at a break are left
/// out.
/// @param hang  columns less that all pieces but the first get
std::vector<std::string> Broken(const std::string& printable, std::size_t columns,
                                std::size_t hang = 0);

/// Breaks a printable text at blanks into lines of that many columns; all but the first begin with
/// the indent. A word that is too long for any line is broken as above.
std::string Wrapped(std::string_view printable, std::size_t columns, std::string_view indent);

/// Without the blanks at its beginning, such as a drive's name has whose vendor is missing.
std::string WithoutLeadingBlanks(const std::string& text);

std::string PadRight(const std::string& printable, std::size_t columns);
std::string PadLeft(const std::string& printable, std::size_t columns);

} // namespace Host
