#pragma once

#include "contracts/Export.h"

#include <cstddef>
#include <string>

namespace PI
{

enum class FileState
{
    Read,
    Missing,
    NoFile,  ///< a folder, a pipe, a device
    TooLong, ///< than the limit
    Link,    ///< reached by a link in a folder that others may write to, or by links in a circle
    Unreadable,
};

/// Reads a small file as settings files are read: without waiting for a pipe or a device, and
/// through no link that others may have made.
ZELPLUG_API FileState ReadWholeFile(const std::string& path, std::size_t limit,
                                    std::string& content);

/// Puts a new file in the place of the old one, if any, as settings files are written: in one step,
/// through no link that others may have made, with mode 0640 and the group of its folder.
/// @return false when that failed, which leaves the old file as it was
ZELPLUG_API bool ReplaceWholeFile(const std::string& path, const std::string& content);

} // namespace PI
