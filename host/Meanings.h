// What numbers of the vocabulary mean, in words.
#pragma once

#include <string_view>

namespace Host
{

/// @return empty for a number whose name says it all
std::string_view MeaningOf(int number);

} // namespace Host
