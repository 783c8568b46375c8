// The small files by which the kernel tells of itself, below /sys and /proc.
#pragma once

#include "platform/WindowsTypes.h"
#include "platform/linux/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Platform
{

/// Where the kernel's files lie. No other folder is read.
struct SystemFolders
{
    std::string sys = "/sys";
    std::string proc = "/proc";
    std::string dev = "/dev";
};

/// What a failed call of the kernel means, as a Windows error code.
DWORD ErrorOfCall(int error);

/// Tells what is not there from what cannot be found out. @throws Shortage
void CheckResources(int error);

// All of these give nothing for what is not there, vanishes meanwhile, may not be read or is of
// another kind. When this process has no memory or no descriptor left to find that out, they throw
// Shortage. None blocks.

/// Opens a regular file for reading; none for anything else.
FileDescriptor OpenSystemFile(const std::string& path);

/// Content of a regular file, at most `limit` bytes of it.
std::optional<std::string> ReadSystemFile(const std::string& path, std::size_t limit);

/// An attribute of one line, without the end of the line.
std::optional<std::string> ReadAttribute(const std::string& path);

/// An attribute that is a decimal number.
std::optional<std::uint64_t> ReadNumber(const std::string& path);

/// Where a symbolic link points, as it stands there.
std::optional<std::string> ReadLink(const std::string& path);

/// Names in a folder, in no order; without "." and "..".
std::vector<std::string> ListFolder(const std::string& path);

/// The part behind the last slash.
std::string LastName(const std::string& path);

} // namespace Platform
