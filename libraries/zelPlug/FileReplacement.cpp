#include "libraries/zelPlug/FileReplacement.h"

#include <boost/filesystem/operations.hpp>

namespace PI::Internals
{

boost::filesystem::path FolderOf(const boost::filesystem::path& path)
{
    const boost::filesystem::path folder = path.parent_path();
    return folder.empty() ? boost::filesystem::path(".") : folder;
}

bool FollowLinks(boost::filesystem::path& path)
{
    constexpr int longestChain = 40;
    for (int links = 0; links < longestChain; ++links)
    {
        boost::system::error_code error;
        if (!boost::filesystem::is_symlink(boost::filesystem::symlink_status(path, error)))
            return true;
        const boost::filesystem::path target = boost::filesystem::read_symlink(path, error);
        if (error)
            return false;
        path = target.is_absolute() ? target : path.parent_path() / target;
    }
    return false;
}

boost::filesystem::path TemporaryBeside(const boost::filesystem::path& path)
{
    boost::system::error_code error;
    const boost::filesystem::path name =
        boost::filesystem::unique_path(".settings-%%%%-%%%%-%%%%-%%%%", error);
    return error ? boost::filesystem::path() : FolderOf(path) / name;
}

} // namespace PI::Internals
