// Loaded before a program by the linker's LD_PRELOAD: lets calls of the program fail as FAULTS
// says, "kind:position:times" ("setenv:1:always"), from the beginning of its main function on. The
// file in FAULTS_COUNT receives how many calls of the kind there were. CLOCK_SPEED makes its clocks
// fast, CLOCK_SHIFT names a file with the seconds to set them ahead.
#include "tests/faults/Clock.h"
#include "tests/faults/Interposed.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

using Main = int(int, char**, char**);
using Begin = void();

Main* g_main = nullptr;

__attribute__((destructor)) void WriteCount()
{
    const char* const name = std::getenv("FAULTS_COUNT");
    const Faults::Spared harness;
    std::FILE* const file = name != nullptr ? std::fopen(name, "w") : nullptr;
    if (file == nullptr)
        return;
    std::fprintf(file, "%ld", Faults::End());
    std::fclose(file);
}

int MainWithFaults(int count, char** arguments, char** environment)
{
    if (const char* const speed = std::getenv("CLOCK_SPEED"))
        Faults::SetClockSpeed(std::strtol(speed, nullptr, 10));
    if (const char* const faults = std::getenv("FAULTS"))
    {
        char kind[32] = {};
        const char* const position = std::strchr(faults, ':') + 1;
        std::strncpy(kind, faults, static_cast<std::size_t>(position - 1 - faults));
        const char first = std::strchr(position, ':')[1];
        Faults::Begin(kind, std::strtol(position, nullptr, 10),
                      first == 'o'   ? Faults::Times::Once
                      : first == 't' ? Faults::Times::Twice
                                     : Faults::Times::Always);
    }
    return g_main(count, arguments, environment);
}

} // namespace

INTERPOSED int Start(Main* program, int count, char** arguments, Begin* begin, Begin* end,
                     Begin* endOfLoader, void* stack) __asm__("__libc_start_main");
int Start(Main* program, int count, char** arguments, Begin* begin, Begin* end, Begin* endOfLoader,
          void* stack)
{
    auto* const next =
        Faults::Next<int(Main*, int, char**, Begin*, Begin*, Begin*, void*)>("__libc_start_main");
    g_main = program;
    return next(&MainWithFaults, count, arguments, begin, end, endOfLoader, stack);
}
