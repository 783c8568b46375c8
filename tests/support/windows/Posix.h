// The few names of POSIX that tests use, for Windows. Included ahead of every test there.
#pragma once

#include "contracts/zelKit/Environment.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

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
    static const auto start = std::chrono::steady_clock::now().time_since_epoch().count();
    static unsigned long long count = static_cast<unsigned long long>(start);
    std::string path = pattern;
    std::error_code error;
    do
    {
        const std::string number = std::to_string(100000 + ++count % 900000);
        path.replace(path.size() - number.size(), number.size(), number);
    } while (!std::filesystem::create_directory(path, error) && !error);
    return error ? nullptr : path.copy(pattern, path.size()) != 0 ? pattern : nullptr;
}
