#include "libraries/zelStore/SystemFiles.h"

#include "contracts/zelKit/Environment.h"
#include "contracts/zelKit/windows/WideText.h"

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

// Only looks: whoever has the file open is not disturbed.
FileIdentity IdentityOf(const std::string& path)
{
    const HANDLE file = CreateFileW(ZKT::Misc::ToWide(path).c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return {};
    BY_HANDLE_FILE_INFORMATION facts = {};
    const bool isKnown = GetFileInformationByHandle(file, &facts) != 0;
    CloseHandle(file);
    if (!isKnown)
        return {};
    return std::pair<std::uint64_t, std::uint64_t>(facts.dwVolumeSerialNumber,
                                                   std::uint64_t{facts.nFileIndexHigh} << 32 |
                                                       facts.nFileIndexLow);
}

} // namespace DatabaseWrapper::Internals
