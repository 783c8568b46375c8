#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process with the message, for the fuzzer to keep the input, when something does not
/// hold.
inline void Require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}
