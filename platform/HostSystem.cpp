#include "platform/HostSystem.h"

#include <cstdio>

namespace Platform
{

std::string TooLarge(std::size_t limit)
{
    return limit % (1024 * 1024) == 0
               ? "is larger than " + std::to_string(limit / (1024 * 1024)) + " MiB"
               : "is longer than " + std::to_string(limit) + " bytes";
}

void Warn(const std::string& text)
{
    const CancellationPause pause;
    // One call, so that lines of several threads do not mix.
    const std::string line = text + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace Platform
