// Reading a small file whole, and putting a new one in its place in one step.
#pragma once

#include <boost/filesystem/path.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace PI::Internals
{

/// What a new file takes over from the one that it replaces.
struct FileAttributes
{
    std::uint32_t permissions = 0; ///< on Windows: attributes; rights are taken over with them
    std::uint32_t owner = 0;
    std::uint32_t group = 0;
};

enum class ReadResult
{
    Read,
    Missing,
    Unreadable,
};

/// What keeps a file from being read.
enum class Unreadable
{
    Nothing,
    Forbidden,
    NoFile, ///< a folder, a pipe, a device
    Link,   ///< one that others may have put there
    TooLong,
    Failure,
};

enum class Purpose
{
    Read,
    Replace, ///< a file that this process may not write counts as unreadable
};

/// A file that was read whole, or why not.
struct FileContent
{
    std::string text;
    FileAttributes attributes;
    Unreadable why = Unreadable::Nothing;
    std::string reason; ///< the system's words for Unreadable::Failure
};

/// Reads a regular file. Never waits for a pipe or a device.
/// @param path   PrivateFile::ResolveLinks gave it
/// @param limit  size in bytes from which on a file counts as unreadable
ReadResult ReadWhole(const boost::filesystem::path& path, Purpose purpose, std::size_t limit,
                     FileContent& content);

/// Writes the content to disk under another name in the same folder, then renames it. Whatever
/// happens, the path names the whole old file or the whole new one. Makes the folder if it is
/// missing.
/// @param path        PrivateFile::ResolveLinks gave it
/// @param attributes  of the old file, none when there is no old one
bool PutInPlace(const boost::filesystem::path& path, const std::string& content,
                const std::optional<FileAttributes>& attributes);

// For the two above, which linux/ and windows/ hold.

/// The folder that a file lies in.
boost::filesystem::path FolderOf(const boost::filesystem::path& path);

/// A short name of its own in the folder of a file: two processes that write at once must not share
/// it, and the file's name may be as long as names can be. Empty when none is to be had.
boost::filesystem::path TemporaryBeside(const boost::filesystem::path& path);

} // namespace PI::Internals
