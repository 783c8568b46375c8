#include "libraries/zelKit/System.h"

#include "contracts/zelKit/Environment.h"
#include "contracts/zelKit/windows/WideText.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <windows.h>

namespace ZKT
{
namespace Internals
{

void KeepLoaded(const void* code)
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       static_cast<const wchar_t*>(code), &module);
}

std::uint64_t ThreadNumber()
{
    return GetCurrentThreadId();
}

int OpenForAppending(const std::string& path)
{
    return _wopen(Misc::ToWide(path).c_str(),
                  _O_WRONLY | _O_APPEND | _O_CREAT | _O_BINARY | _O_NOINHERIT,
                  _S_IREAD | _S_IWRITE);
}

void CloseFile(int file)
{
    _close(file);
}

int WriteSome(int file, std::string_view text, std::size_t& written)
{
    const auto size = static_cast<unsigned>(std::min<std::size_t>(text.size(), INT_MAX));
    const int result = _write(file, text.data(), size);
    written = result > 0 ? static_cast<std::size_t>(result) : 0;
    if (result < 0)
        return errno;
    return result == 0 ? EIO : 0;
}

} // namespace Internals

namespace Misc
{

// Not by the C library, which knows the variables in the system's code page alone.
std::string GetVariable(const char* name)
{
    const std::wstring wideName = ToWide(name);
    std::wstring value;
    DWORD needed = GetEnvironmentVariableW(wideName.c_str(), nullptr, 0);
    while (needed > value.size())
    {
        value.resize(needed);
        needed = GetEnvironmentVariableW(wideName.c_str(), value.data(), needed);
    }
    value.resize(needed);
    return FromWide(value);
}

bool SetVariable(const char* name, const std::string& value)
{
    return SetEnvironmentVariableW(ToWide(name).c_str(), ToWide(value).c_str()) != 0;
}

std::wstring ToWide(std::string_view utf8)
{
    const int size = static_cast<int>(utf8.size());
    std::wstring wide(utf8.size(), L'\0'); // never more units than bytes
    const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), size);
    wide.resize(static_cast<std::size_t>(units));
    return wide;
}

std::string FromWide(std::wstring_view wide)
{
    const int size = static_cast<int>(wide.size());
    std::string utf8(wide.size() * 3, '\0'); // a unit makes three bytes at the most
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, utf8.data(),
                                          static_cast<int>(utf8.size()), nullptr, nullptr);
    utf8.resize(static_cast<std::size_t>(bytes));
    return utf8;
}

} // namespace Misc
} // namespace ZKT
