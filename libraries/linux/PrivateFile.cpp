#include "libraries/PrivateFile.h"

#include <boost/filesystem/operations.hpp>

#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <list>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace PrivateFile
{
namespace
{

using boost::filesystem::path;
using boost::system::error_code;

constexpr mode_t fileMode = 0640;
constexpr mode_t folderMode = 0750;

error_code LastError()
{
    return {errno, boost::system::system_category()};
}

path FolderOf(const path& place)
{
    return place.has_parent_path() ? place.parent_path() : path(".");
}

/// @return true also when the rights of the folder cannot be read
bool MayOthersWrite(const path& folder)
{
    struct stat status = {};
    if (stat(folder.c_str(), &status) != 0)
        return true;
    const uid_t user = geteuid();
    // A group with the user's number is the user's own.
    const bool isOwnGroup = status.st_gid == 0 || status.st_gid == user;
    return (status.st_uid != 0 && status.st_uid != user) || (status.st_mode & S_IWOTH) != 0 ||
           ((status.st_mode & S_IWGRP) != 0 && !isOwnGroup);
}

/// Gives a new file or folder its rights. Only root, and a member of the group, can give that.
bool GiveRights(int file, const path& folder, mode_t mode)
{
    struct stat status = {};
    if (stat(folder.c_str(), &status) == 0 &&
        fchown(file, static_cast<uid_t>(-1), status.st_gid) != 0 && errno != EPERM)
        return false;
    return fchmod(file, mode) == 0;
}

/// Removes nothing when that fails: somebody else may have put something else there.
error_code GiveRightsAndClose(int file, const path& folder, mode_t mode)
{
    if (file < 0)
        return LastError();
    const error_code error = GiveRights(file, folder, mode) ? error_code() : LastError();
    close(file);
    return error;
}

} // namespace

bool ResolveLinks(path& place)
{
    constexpr int longestChain = 40;
    std::list<path> names(place.begin(), place.end());
    path resolved;
    for (int links = 0; !names.empty();)
    {
        const path next = resolved / names.front();
        names.pop_front();
        error_code error;
        if (!is_symlink(symlink_status(next, error)))
        {
            resolved = next;
            continue;
        }
        const path target = read_symlink(next, error);
        if (error || ++links > longestChain || MayOthersWrite(FolderOf(next)))
        {
            place = next;
            return false;
        }
        names.insert(names.begin(), target.begin(), target.end());
        if (target.is_absolute())
            resolved.clear();
    }
    place = resolved;
    return true;
}

error_code MakeFolders(const path& folder)
{
    error_code error;
    if (folder.empty() || is_directory(folder, error))
        return {};
    if (const error_code failure = MakeFolders(folder.parent_path()))
        return failure;
    if (mkdir(folder.c_str(), S_IRWXU) != 0)
        return errno == EEXIST && is_directory(folder, error) ? error_code() : LastError();
    const path above = FolderOf(folder); // takes memory, which must not end with the file open
    return GiveRightsAndClose(Open(folder, O_RDONLY | O_DIRECTORY), above, folderMode);
}

error_code MakeFile(const path& place)
{
    const path folder = FolderOf(place);
    return GiveRightsAndClose(Open(place, O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR), folder,
                              fileMode);
}

int Open(const path& place, int flags, unsigned mode)
{
    const int all = flags | O_CLOEXEC | O_NOCTTY;
    open_how how = {};
    how.flags = static_cast<std::uint64_t>(all);
    how.mode = mode;
    how.resolve = RESOLVE_NO_SYMLINKS;
    const long file = syscall(SYS_openat2, AT_FDCWD, place.c_str(), &how, sizeof how);
    // Older kernels, and some sandboxes, do not have it.
    if (file < 0 && (errno == ENOSYS || errno == EPERM))
        return open(place.c_str(), all | O_NOFOLLOW, mode);
    return static_cast<int>(file);
}

} // namespace PrivateFile
