#include "platform/windows/DriverVersion.h"

#include "contracts/zelKit/windows/WideText.h"
#include "platform/WindowsTypes.h"

#include <string_view>
#include <vector>

namespace Platform
{

namespace
{

bool StartsWith(std::wstring_view text, std::wstring_view head)
{
    return text.size() >= head.size() &&
           ::CompareStringOrdinal(text.data(), static_cast<int>(head.size()), head.data(),
                                  static_cast<int>(head.size()), TRUE) == CSTR_EQUAL;
}

/// A text of the registry as it stands there; empty when there is none.
/// @return false when there is no such key
bool ReadRegistryText(const std::wstring& key, const wchar_t* name, std::wstring& text)
{
    text.clear();
    HKEY opened = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_QUERY_VALUE, &opened) !=
        ERROR_SUCCESS)
        return false;
    constexpr DWORD flags = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
    DWORD bytes = 0;
    if (::RegGetValueW(opened, nullptr, name, flags, nullptr, nullptr, &bytes) == ERROR_SUCCESS)
    {
        text.resize(bytes / sizeof(wchar_t));
        if (::RegGetValueW(opened, nullptr, name, flags, nullptr, text.data(), &bytes) !=
            ERROR_SUCCESS)
            bytes = 0;
        text.resize(bytes / sizeof(wchar_t));
        text.resize(std::wstring_view(text).substr(0, text.find(L'\0')).size());
    }
    ::RegCloseKey(opened);
    return true;
}

std::wstring WindowsFolder()
{
    std::wstring folder(MAX_PATH, L'\0');
    const UINT size = ::GetSystemWindowsDirectoryW(folder.data(), MAX_PATH);
    folder.resize(size < MAX_PATH ? size : 0);
    return folder;
}

} // namespace

std::wstring DriverFile(const std::wstring& imagePath, const std::wstring& windowsFolder,
                        const std::wstring& service)
{
    constexpr std::wstring_view NtPrefix = L"\\??\\";
    constexpr std::wstring_view Roots[] = {L"\\SystemRoot\\", L"%SystemRoot%\\"};
    std::wstring_view path = imagePath;
    if (StartsWith(path, NtPrefix))
        path.remove_prefix(NtPrefix.size());
    if (path.empty())
        return windowsFolder + L"\\System32\\drivers\\" + service + L".sys";
    for (const std::wstring_view root : Roots)
        if (StartsWith(path, root))
            return windowsFolder + L'\\' + std::wstring(path.substr(root.size()));
    const bool isAbsolute = path.front() == L'\\' || (path.size() > 1 && path[1] == L':');
    return isAbsolute ? std::wstring(path) : windowsFolder + L'\\' + std::wstring(path);
}

bool ReadDriverVersion(const std::string& service, std::string& version)
{
    const std::wstring name = ZKT::Misc::ToWide(service);
    std::wstring imagePath;
    if (name.empty() || name.find(L'\\') != std::wstring::npos ||
        !ReadRegistryText(L"SYSTEM\\CurrentControlSet\\Services\\" + name, L"ImagePath", imagePath))
        return false;
    const std::wstring file = DriverFile(imagePath, WindowsFolder(), name);
    const DWORD size = ::GetFileVersionInfoSizeW(file.c_str(), nullptr);
    std::vector<BYTE> resource(size);
    VS_FIXEDFILEINFO* facts = nullptr;
    UINT factsSize = 0;
    if (size == 0 || ::GetFileVersionInfoW(file.c_str(), 0, size, resource.data()) == 0 ||
        ::VerQueryValueW(resource.data(), L"\\", reinterpret_cast<void**>(&facts), &factsSize) ==
            0 ||
        factsSize < sizeof *facts)
        return false;
    version = std::to_string(HIWORD(facts->dwFileVersionMS)) + '.' +
              std::to_string(LOWORD(facts->dwFileVersionMS)) + '.' +
              std::to_string(HIWORD(facts->dwFileVersionLS)) + '.' +
              std::to_string(LOWORD(facts->dwFileVersionLS));
    return true;
}

} // namespace Platform
