#pragma once

#include "contracts/Export.h"

#include <cstdint>

namespace ZKT::Internals
{

/// Puts another clock under ZKT::Misc::now; null: the system clock again. For tests alone.
ZELKIT_API void SetClock(std::uint64_t (*clock)());

} // namespace ZKT::Internals
