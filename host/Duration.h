// Times on the command line.
#pragma once

#include <cstdint>
#include <string>

namespace Host
{

/// Plain seconds, or a number with s, m, h or d behind it, from 1 to 2^32 - 1 seconds.
/// @param option  named in the message
/// @throws UsageFailure
std::uint32_t ParseSeconds(const std::string& option, const std::string& text);

} // namespace Host
