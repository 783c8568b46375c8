#pragma once

#include "contracts/Export.h"

#include <cstdint>

namespace ZKT::Misc
{

/// Milliseconds since 1970-01-01 00:00 UTC. Never 0. Follows the machine's clock, also backwards.
ZELKIT_API std::uint64_t now();

} // namespace ZKT::Misc
