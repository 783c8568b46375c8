// Takes the place of the system's calls, in the program that it is linked into or loaded before.
// They have other names in the source: the headers declare some of them with other types.
#include "tests/faults/Faults.h"
#include "tests/faults/Interposed.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

#define ROW(boundary, type, name, parameters, arguments, failure, cause)                           \
    INTERPOSED type Faulty_##name parameters __asm__(#name);                                       \
    type Faulty_##name parameters                                                                  \
    {                                                                                              \
        static auto* const next = Faults::Next<type parameters>(#name);                            \
        if (!Faults::Fails(#boundary, #name))                                                      \
            return next arguments;                                                                 \
        errno = cause;                                                                             \
        return failure;                                                                            \
    }
#include "tests/faults/Calls.inc"

namespace
{

int LockUnlessItFails(const char* call, int file, int what, void* with)
{
    using Function = int(int, int, void*);
    const bool isLocking = what == F_SETLK && static_cast<struct flock*>(with)->l_type != F_UNLCK;
    if (isLocking && Faults::Fails("lock", call)) // to give a lock back never fails
    {
        errno = EIO;
        return -1;
    }
    static auto* const next = Faults::Next<Function>("fcntl64");
    return next(file, what, with);
}

} // namespace

INTERPOSED int Faulty_fcntl(int file, int what, void* with) __asm__("fcntl");
int Faulty_fcntl(int file, int what, void* with)
{
    return LockUnlessItFails("fcntl", file, what, with);
}

INTERPOSED int Faulty_fcntl64(int file, int what, void* with) __asm__("fcntl64");
int Faulty_fcntl64(int file, int what, void* with)
{
    return LockUnlessItFails("fcntl64", file, what, with);
}

INTERPOSED int Faulty_flock(int file, int what) __asm__("flock");
int Faulty_flock(int file, int what)
{
    static auto* const next = Faults::Next<int(int, int)>("flock");
    if ((what & LOCK_UN) != 0 || !Faults::Fails("lock", "flock"))
        return next(file, what);
    errno = EIO;
    return -1;
}
