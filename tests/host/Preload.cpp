// Loaded before a program by the linker's LD_PRELOAD: sets its clock ahead by the seconds that the
// file in CLOCK_SHIFT holds, and gives it no thread when NO_THREADS is set. Waits go by another
// clock and last as long as ever.
#include <cerrno>
#include <cstdlib>
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
    if (std::getenv("NO_THREADS") != nullptr)
        return EAGAIN;
    static const auto create =
        reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, attributes, run, argument);
}
