// What the machines need of the system they run on: files, sleep, a line for people. linux/ and
// windows/ have their own HostSystem.cpp.
#pragma once

#include "contracts/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Platform
{

/// What changes when a file changes. All zero for a file that is not there.
struct FileStamp
{
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t changed = 0; ///< nanoseconds since 1970

    bool operator==(const FileStamp&) const = default;
};

FileStamp StampOf(const std::string& path);

/// A file that somebody rests on, as it was when it was read.
struct WatchedFile
{
    std::string path;
    FileStamp stamp = {};
    /// Read so soon after its last change that a further one may have left the same stamp: the
    /// clock of a file system advances in steps.
    bool isFresh = false;
};

/// Reads the regular file of that path whole. Never blocks on what is none.
/// @param file   its stamp, from before the content was read, comes out on failure too
/// @param limit  longest content taken
/// @return empty, or what is wrong with the file
/// @throws std::bad_alloc without memory or descriptors, which says nothing about the file
std::string ReadWholeFile(WatchedFile& file, std::size_t limit, std::string& content);

/// What is wrong with a file of more than the limit.
std::string TooLarge(std::size_t limit);

/// What stands between the folders of a path: any one of these.
extern const char* const FolderSeparators;

/// Length of the drive that a path begins with; 0 where there are none.
std::size_t DriveSize(const std::string& path);

/// The folder of a file, with the separator that ends it; empty for a name alone.
PLATFORM_API std::string FolderOf(const std::string& path);

/// A path that starts at a folder, unless it starts at a drive or a root.
std::string PathFrom(const std::string& folder, const std::string& path);

/// Sleeps with no lock held. Ends early when the thread is asked to stop.
void SleepFor(std::uint32_t milliseconds);

/// Writes one line to standard error, made safe for a terminal.
void Warn(const std::string& text);

} // namespace Platform
