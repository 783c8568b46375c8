#include "libraries/zelKit/System.h"

#include "contracts/zelKit/Environment.h"
#include "libraries/zelKit/Output.h"
#include "libraries/zelKit/SystemThread.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace ZKT
{
namespace
{

/// Blocks all signals in the calling thread, and so in a thread that it creates.
class SignalsBlocked
{
  public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_Previous);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_Previous, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t m_Previous;
};

} // namespace

namespace Internals
{

std::thread StartThread(std::function<void()> body)
{
    const SignalsBlocked blocked;
    return std::thread(std::move(body));
}

void KeepLoaded(const void* code)
{
    Dl_info info;
    if (dladdr(code, &info) != 0 && info.dli_fname != nullptr)
        dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

std::uint64_t ThreadNumber()
{
    return static_cast<std::uint64_t>(gettid());
}

int OpenForAppending(const std::string& path)
{
    // Without O_NONBLOCK a pipe that nobody reads would hold the first line, and its thread, here.
    return open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK,
                0644);
}

void CloseFile(int file)
{
    close(file);
}

int WriteSome(int file, std::string_view text, std::size_t& written)
{
    const ssize_t result = write(file, text.data(), text.size());
    written = result > 0 ? static_cast<std::size_t>(result) : 0;
    if (result < 0)
        return errno == EINTR ? 0 : errno;
    return result == 0 ? EIO : 0;
}

} // namespace Internals

std::string Misc::GetVariable(const char* name)
{
    const char* text = std::getenv(name);
    return text != nullptr ? text : "";
}

bool Misc::SetVariable(const char* name, const std::string& value)
{
    return setenv(name, value.c_str(), 1) == 0;
}

} // namespace ZKT
