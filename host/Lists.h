// Several texts as one.
#pragma once

#include <string>
#include <vector>

namespace Host
{

/// "a; b; c", or with another separator.
std::string Joined(const std::vector<std::string>& texts, const char* separator = "; ");

/// "a, b and c", or with another word before the last.
std::string Enumerated(const std::vector<std::string>& texts, const char* word = "and");

/// "a, b and 3 more": at most eight of them.
std::string Shortened(const std::vector<std::string>& texts);

} // namespace Host
