#include "tests/faults/Faults.h"

#include <atomic>
#include <cstring>

namespace Faults
{

namespace
{

char g_kind[32];
long g_position = 0;
Times g_times = Times::Once;
std::atomic<bool> g_isCounting = false;
std::atomic<long> g_count = 0;

} // namespace

thread_local int t_spared = 0;

void Begin(const char* kind, long position, Times times)
{
    std::strncpy(g_kind, kind, sizeof g_kind - 1);
    g_position = position;
    g_times = times;
    g_count = 0;
    g_isCounting = true;
}

long End()
{
    g_isCounting = false;
    return g_count;
}

bool Fails(const char* boundary, const char* call)
{
    if (!g_isCounting || t_spared != 0)
        return false;
    if (std::strcmp(boundary, g_kind) != 0 && std::strcmp(call, g_kind) != 0)
        return false;
    const long behind = ++g_count - g_position;
    return behind == 0 || (behind == 1 && g_times == Times::Twice) ||
           (behind > 0 && g_times == Times::Always);
}

} // namespace Faults
