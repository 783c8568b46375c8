#include "platform/HostSystem.h"

#include "contracts/zelKit/Text.h"
#include "contracts/zelKit/Thread.h"

#include <chrono>
#include <cstdio>

namespace Platform
{

std::string TooLarge(std::size_t limit)
{
    return limit % (1024 * 1024) == 0
               ? "is larger than " + std::to_string(limit / (1024 * 1024)) + " MiB"
               : "is longer than " + std::to_string(limit) + " bytes";
}

std::string FolderOf(const std::string& path)
{
    std::size_t last = path.find_last_of(FolderSeparators);
    if (last == std::string::npos)
        return path.substr(0, DriveSize(path));
    // Of several in a row the first one ends the folder.
    while (last > 0 && path.find_last_of(FolderSeparators, last - 1) == last - 1)
        --last;
    return path.substr(0, last + 1);
}

std::string PathFrom(const std::string& folder, const std::string& path)
{
    if (DriveSize(path) > 0 || path.find_first_of(FolderSeparators) == 0)
        return path;
    const bool isEnded = folder.size() == DriveSize(folder) ||
                         folder.find_last_of(FolderSeparators) == folder.size() - 1;
    return folder + (isEnded ? "" : "/") + path;
}

void SleepFor(std::uint32_t milliseconds)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    // A test that skips time wakes the sleep; a delay of a disk lasts all the same.
    for (Clock::time_point now = Clock::now(); now < end && !ZKT::Threading::StopRequested();
         now = Clock::now())
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        ZKT::Threading::SleepFor(static_cast<std::uint32_t>(left.count()));
    }
}

void Warn(const std::string& text)
{
    // One call, so that lines of several threads do not mix.
    const std::string line = ZKT::Misc::Printable(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace Platform
