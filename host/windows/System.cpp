#include "host/System.h"

#include "contracts/zelKit/windows/WideText.h"
#include "host/Failure.h"

#include <system_error>

#include <windows.h>

#include <shellapi.h>

namespace Host
{

namespace
{

std::string LastReason()
{
    return std::system_category().message(static_cast<int>(GetLastError()));
}

/// What a call of Windows writes, in as much room as it takes; empty when it fails.
/// @param call  given the room, returns the length, or at least the room's when that is too small
template <class Call> std::wstring TextOf(Call call)
{
    constexpr std::size_t longest = 1 << 15;
    std::wstring text(MAX_PATH, L'\0');
    for (; text.size() <= longest; text.resize(text.size() * 2))
        if (const DWORD size = call(text.data(), static_cast<DWORD>(text.size()));
            size < text.size())
        {
            text.resize(size);
            return text;
        }
    return {};
}

HANDLE HandleOf(std::intptr_t waitable)
{
    return reinterpret_cast<HANDLE>(waitable);
}

} // namespace

const char* const pluginFileName = "tarnis.dll";
const char* const folderSeparators = "/\\:";
const char* const systemHelpText =
    R"(
Without --machine this computer is shown. Its disks are read by administrators,
elevated.
)";

std::vector<std::string> Arguments(int argc, char** argv)
{
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (wide == nullptr)
        return {argv, argv + argc};
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i)
        arguments.push_back(ZKT::Misc::FromWide(wide[i]));
    LocalFree(wide);
    return arguments;
}

bool TakesUtf8()
{
    return true;
}

std::string PluginBesideProgram()
{
    const std::wstring program =
        TextOf([](wchar_t* text, DWORD size) { return GetModuleFileNameW(nullptr, text, size); });
    const std::wstring beside =
        program.substr(0, program.rfind(L'\\') + 1) + ZKT::Misc::ToWide(pluginFileName);
    return program.empty() || GetFileAttributesW(beside.c_str()) == INVALID_FILE_ATTRIBUTES
               ? std::string()
               : ZKT::Misc::FromWide(beside);
}

void* OpenLibrary(const std::string& path, std::string& reason)
{
    // As the loader of a named file does, its folder is where the libraries beside it are found.
    const bool isPlain = path.find_first_of(folderSeparators) == std::string::npos;
    std::wstring file = ZKT::Misc::ToWide(path);
    if (!isPlain)
        file = TextOf([given = file](wchar_t* text, DWORD size)
                      { return GetFullPathNameW(given.c_str(), size, text, nullptr); });
    const HMODULE library = LoadLibraryExW(file.c_str(), nullptr,
                                           isPlain ? LOAD_LIBRARY_SEARCH_DEFAULT_DIRS
                                                   : LOAD_LIBRARY_SEARCH_DEFAULT_DIRS |
                                                         LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR);
    if (library == nullptr)
        reason = path + ": " + LastReason();
    return library;
}

void* FindSymbol(void* library, const char* name, std::string& reason)
{
    const FARPROC symbol = GetProcAddress(static_cast<HMODULE>(library), name);
    if (symbol == nullptr)
        reason = std::string(name) + ": " + LastReason();
    return reinterpret_cast<void*>(symbol);
}

void CloseLibrary(void* library)
{
    FreeLibrary(static_cast<HMODULE>(library));
}

bool HasRoomForError()
{
    return true; // Windows does not tell
}

// Set by hand, so that several rings are answered at once.
Doorbell::Doorbell()
    : m_Waitable(reinterpret_cast<std::intptr_t>(CreateEventW(nullptr, TRUE, FALSE, nullptr)))
{
    if (m_Waitable == 0)
        throw Failure(EXIT_PLUGIN, "cannot wait for events: the system gives no event");
}

Doorbell::~Doorbell()
{
    CloseHandle(HandleOf(m_Waitable));
}

void Doorbell::Ring()
{
    SetEvent(HandleOf(m_Waitable));
}

void Doorbell::Answer()
{
    ResetEvent(HandleOf(m_Waitable));
}

} // namespace Host
