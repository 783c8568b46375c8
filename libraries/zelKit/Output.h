#pragma once

#include <string_view>

namespace ZKT::Internals
{

/// Writes a text, as one write as far as the system takes it. Nobody could be told of a failure,
/// so that it is ignored. Not a point where a thread can be cancelled.
void WriteText(int file, std::string_view text);

/// Tells of trouble on standard error: one line, which begins with the library's name.
void Complain(std::string_view trouble);

} // namespace ZKT::Internals
