#include "libraries/zelPlug/FileReplacement.h"

#include <boost/filesystem/operations.hpp>

namespace PI::Internals
{

boost::filesystem::path FolderOf(const boost::filesystem::path& path)
{
    const boost::filesystem::path folder = path.parent_path();
    return folder.empty() ? boost::filesystem::path(".") : folder;
}

boost::filesystem::path TemporaryBeside(const boost::filesystem::path& path)
{
    boost::system::error_code error;
    const boost::filesystem::path name =
        boost::filesystem::unique_path(".settings-%%%%-%%%%-%%%%-%%%%", error);
    return error ? boost::filesystem::path() : FolderOf(path) / name;
}

} // namespace PI::Internals
