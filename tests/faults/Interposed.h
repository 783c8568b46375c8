// How a function takes the place of one of the system's.
#pragma once

#include "tests/faults/Faults.h"

#include <dlfcn.h>

#define INTERPOSED extern "C" __attribute__((visibility("default")))

namespace Faults
{

/// What the program would have called.
template <class Function> Function* Next(const char* name)
{
    const Spared lookingUp;
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace Faults
