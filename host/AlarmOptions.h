#pragma once

#include <cstdint>
#include <string>

namespace Host
{

/// What is to be run when the trouble of a drive starts or ends.
struct AlarmOptions
{
    std::string command;                     ///< empty: nothing
    std::uint32_t timeoutSeconds = 30;       ///< after which it is killed
    std::uint32_t remindSeconds = 24 * 3600; ///< between two tellings of the same trouble; 0: none
};

} // namespace Host
