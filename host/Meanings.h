// What numbers of the vocabulary mean, in words.
#pragma once

#include "host/Names.h"

#include <string_view>

namespace Host
{

/// @return empty for a number that has no more to say than its name
std::string_view MeaningOf(const NameTable& table, int number);

} // namespace Host
