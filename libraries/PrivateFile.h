// Files and folders of ours in places that others may write to; linux/ and windows/ hold the ways.
//
// Who may write to a folder can put a link there that leads into a file of ours, or of root. Such
// links are not followed, wherever in a path they lie. Links in other folders are.
#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>

namespace PrivateFile
{

/// Puts a path that leads through no link in the place of the given one, whether anything is there
/// or not.
/// @return false for a link in a folder into which others than this user and root may write, and
///         for links without end; the path is that link then
bool ResolveLinks(boost::filesystem::path& path);

/// Makes a folder and those above it that are missing: 0750, with the group of the folder above,
/// whatever the umask is. On Windows they inherit their rights.
/// @param folder  resolved
boost::system::error_code MakeFolders(const boost::filesystem::path& folder);

/// Makes an empty file that is not there yet: 0640, with the group of its folder, whatever the
/// umask is. On Windows it inherits its rights.
/// @param path  resolved
/// @return errc::file_exists when there is a file already, or anything else of that name
boost::system::error_code MakeFile(const boost::filesystem::path& path);

#if !defined(_WIN32)
/// open(2), with O_CLOEXEC and O_NOCTTY, that fails with ELOOP for a link anywhere in the path: one
/// that was put there after it was resolved, too.
/// @param path  resolved
int Open(const boost::filesystem::path& path, int flags, unsigned mode = 0);
#endif

} // namespace PrivateFile
