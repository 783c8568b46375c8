#pragma once

#include <string_view>

namespace ZKT::Internals
{

inline constexpr int StandardError = 2; ///< its descriptor

/// Writes a text, as one write as far as the system takes it. Not a point where a thread can be
/// cancelled.
/// @return 0, or the system's error that kept the rest from being written
int WriteText(int file, std::string_view text);

/// Tells of trouble on standard error: one line, which begins with the library's name, made safe
/// for a terminal.
/// Of a failure in that nobody could be told, so that it is ignored.
void Complain(std::string_view trouble);

} // namespace ZKT::Internals
