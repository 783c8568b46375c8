#pragma once

#include <string>
#include <vector>

namespace Host
{

/// The words of a command: blanks part them, '...' and "..." keep them together, a backslash takes
/// the next character as it is, within "..." only before a quote, a backslash or a $. Nothing else
/// has a meaning, since no shell reads it. @throws UsageFailure for a quote that is not closed, and
/// for what only a shell could do
std::vector<std::string> CommandWords(const std::string& command);

} // namespace Host
