#pragma once

#include <cstdint>

namespace ZKT
{

/// What waits and initialisations give.
enum Result : std::uint32_t
{
    RESULT_SUCCESS = 1,
    RESULT_TIMEOUT = 130,         ///< the time ran out
    RESULT_NOT_INITIALISED = 131, ///< Init was not called, or failed
    RESULT_NO_RESOURCES = 132,    ///< the operating system gave no object
    RESULT_INVALID = 133,         ///< arguments that make no sense
    RESULT_STOPPED = 134,         ///< the waiting thread was asked to stop
};

/// A time in milliseconds that waits without limit.
inline constexpr std::uint32_t Infinite = 0xFFFFFFFF;

} // namespace ZKT
