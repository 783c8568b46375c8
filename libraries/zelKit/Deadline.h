#pragma once

#include "contracts/zelKit/Result.h"
#include "libraries/zelKit/Clock.h"

#include <chrono>
#include <cstdint>

namespace ZKT::Internals
{

/// The moment at which a wait of so many milliseconds that begins now has lasted long enough.
inline SteadyTime DeadlineAfter(std::uint32_t milliseconds)
{
    if (milliseconds == Infinite)
        return SteadyTime::max();
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

} // namespace ZKT::Internals
