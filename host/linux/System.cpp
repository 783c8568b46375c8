#include "host/System.h"

#include "host/Failure.h"

#include <filesystem>
#include <string_view>
#include <system_error>

#include <dlfcn.h>
#include <langinfo.h>
#include <locale.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Host
{

namespace
{

std::string LastReason()
{
    const char* reason = ::dlerror();
    return reason != nullptr ? reason : "unknown reason";
}

} // namespace

const char* const pluginFileName = "tarnis.so";
const char* const folderSeparators = "/";
const char* const systemHelpText =
    R"(
Without --machine this computer is shown. Its disks are read by root, or by
whoever may read their device files and has the capability CAP_SYS_RAWIO. A disk
that sleeps is not woken.
)";

std::vector<std::string> Arguments(int argc, char** argv)
{
    return {argv, argv + argc};
}

bool TakesUtf8()
{
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) // it is not installed
        return false;
    const bool isUtf8 = ::nl_langinfo_l(CODESET, locale) == std::string_view("UTF-8");
    ::freelocale(locale);
    return isUtf8;
}

std::string PluginBesideProgram()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        return {};
    const auto beside = program.parent_path() / pluginFileName;
    return std::filesystem::exists(beside, error) ? beside.string() : std::string();
}

void* OpenLibrary(const std::string& path, std::string& reason)
{
    // The loader would wait for ever for somebody who writes into a FIFO.
    std::error_code error;
    if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
    {
        reason = path + ": not a regular file";
        return nullptr;
    }
    void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        reason = LastReason();
    return library;
}

void* FindSymbol(void* library, const char* name, std::string& reason)
{
    void* symbol = ::dlsym(library, name);
    if (symbol == nullptr)
        reason = LastReason();
    return symbol;
}

void CloseLibrary(void* library)
{
    ::dlclose(library);
}

bool HasRoomForError()
{
    pollfd error{STDERR_FILENO, POLLOUT, 0};
    return ::poll(&error, 1, 0) > 0;
}

Doorbell::Doorbell() : m_Waitable(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (m_Waitable < 0)
        throw Failure(EXIT_PLUGIN, "cannot wait for events: the system gives no descriptor");
}

Doorbell::~Doorbell()
{
    ::close(static_cast<int>(m_Waitable));
}

void Doorbell::Ring()
{
    ::eventfd_write(static_cast<int>(m_Waitable), 1);
}

void Doorbell::Answer()
{
    eventfd_t rings = 0;
    ::eventfd_read(static_cast<int>(m_Waitable), &rings);
}

} // namespace Host
