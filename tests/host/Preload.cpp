// Loaded before a program by the linker's LD_PRELOAD: sets its clock ahead by the seconds that the
// file in CLOCK_SHIFT holds, and lets the call fail that FAILING names. Waits go by another clock
// and last as long as ever.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#define INTERPOSED extern "C" __attribute__((visibility("default")))

namespace
{

long ShiftSeconds()
{
    const char* name = std::getenv("CLOCK_SHIFT");
    const int file = name != nullptr ? ::open(name, O_RDONLY | O_CLOEXEC) : -1;
    char text[32] = {};
    if (file < 0 || ::read(file, text, sizeof text - 1) < 0)
        return 0;
    ::close(file);
    return std::strtol(text, nullptr, 10);
}

bool IsFailing(const char* call)
{
    const char* failing = std::getenv("FAILING");
    return failing != nullptr && std::strcmp(failing, call) == 0;
}

/// What the program would have called.
template <class Function> Function* Next(Function*, const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

INTERPOSED int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const long result = ::syscall(SYS_clock_gettime, clock, time);
    if (result == 0 && clock == CLOCK_REALTIME)
        time->tv_sec += ShiftSeconds();
    return static_cast<int>(result);
}

INTERPOSED int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*run)(void*), void* argument) noexcept
{
    if (IsFailing("pthread_create"))
        return EAGAIN;
    static auto* const create = Next(&pthread_create, "pthread_create");
    return create(thread, attributes, run, argument);
}

INTERPOSED int setenv(const char* name, const char* value, int overwrite) noexcept
{
    if (IsFailing("setenv"))
    {
        errno = ENOMEM;
        return -1;
    }
    static auto* const set = Next(&setenv, "setenv");
    return set(name, value, overwrite);
}

INTERPOSED int dup2(int from, int to) noexcept
{
    if (IsFailing("dup2"))
    {
        errno = EBUSY;
        return -1;
    }
    static auto* const copy = Next(&dup2, "dup2");
    return copy(from, to);
}
