#pragma once

#include <string_view>

namespace ZKT::Internals
{

inline constexpr int StandardError = 2; ///< its descriptor

/// Writes a text, as one write as far as the system takes it.
/// @return 0, or the system's error that kept the rest from being written
int WriteText(int file, std::string_view text);

/// Reports trouble on standard error: one line, which begins with the library's name, made safe for
/// a terminal. Throws nothing; without memory the line says just that.
/// @param detail  follows the trouble
void Complain(std::string_view trouble, std::string_view detail = {});

} // namespace ZKT::Internals
