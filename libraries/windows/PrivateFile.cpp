#include "libraries/PrivateFile.h"

#include <boost/filesystem/operations.hpp>

#include <windows.h>

namespace PrivateFile
{

// Only administrators may make links here: all are followed.
bool ResolveLinks(boost::filesystem::path& path)
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

boost::system::error_code MakeFolders(const boost::filesystem::path& folder)
{
    boost::system::error_code error;
    boost::filesystem::create_directories(folder, error);
    return error;
}

boost::system::error_code MakeFile(const boost::filesystem::path& path)
{
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return {static_cast<int>(GetLastError()), boost::system::system_category()};
    CloseHandle(file);
    return {};
}

} // namespace PrivateFile
