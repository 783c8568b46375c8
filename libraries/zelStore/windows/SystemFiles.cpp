#include "libraries/zelStore/SystemFiles.h"

#include "contracts/zelKit/Environment.h"

#include <windows.h>

namespace DatabaseWrapper::Internals
{
namespace
{

using boost::filesystem::path;

path FolderIn(const char* variable)
{
    const std::string folder = ZKT::Misc::GetVariable(variable);
    return folder.empty() ? path() : path(folder) / "tarnis";
}

} // namespace

path CommonFolder()
{
    return FolderIn("ProgramData");
}

path OwnFolder()
{
    return FolderIn("LOCALAPPDATA");
}

bool IsWritable(const path& place)
{
    const DWORD attributes = GetFileAttributesW(place.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return false;
    // Only trying tells: rights come from more than the attributes.
    const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const HANDLE file =
        CreateFileW(place.c_str(), isFolder ? FILE_ADD_FILE : GENERIC_READ | GENERIC_WRITE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    isFolder ? FILE_FLAG_BACKUP_SEMANTICS : FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    CloseHandle(file);
    return true;
}

FileIdentity IdentityOf(const std::string& /*path*/)
{
    return {};
}

} // namespace DatabaseWrapper::Internals
