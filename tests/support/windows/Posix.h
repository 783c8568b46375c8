// The few names of POSIX that tests use, for Windows. Included ahead of every test there.
#pragma once

#include "contracts/zelKit/Environment.h"

#include <cstdlib>
#include <filesystem>
#include <io.h>

extern "C" __declspec(dllimport) unsigned long __stdcall GetCurrentThreadId();

inline unsigned long gettid()
{
    return GetCurrentThreadId();
}

inline int setenv(const char* name, const char* value, int overwrite)
{
    if (overwrite == 0 && std::getenv(name) != nullptr)
        return 0;
    _putenv_s(name, value); // for the C library, too
    ZKT::Misc::SetVariable(name, value);
    return 0;
}

inline int unsetenv(const char* name)
{
    return setenv(name, "", 1);
}

inline char* mkdtemp(char* pattern)
{
    return _mktemp(pattern) != nullptr && std::filesystem::create_directory(pattern) ? pattern
                                                                                     : nullptr;
}
