#include "libraries/zelKit/Clock.h"

#include "contracts/zelKit/Time.h"
#include "libraries/zelKit/EventState.h"

#include <atomic>
#include <chrono>
#include <mutex>

namespace
{

std::uint64_t SystemClock()
{
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    return milliseconds > 0 ? static_cast<std::uint64_t>(milliseconds) : 0;
}

std::atomic<std::uint64_t (*)()> currentClock{&SystemClock};

std::atomic<std::chrono::milliseconds> skipped{std::chrono::milliseconds(0)};

} // namespace

namespace ZKT
{

void Internals::SetClock(std::uint64_t (*clock)())
{
    currentClock = clock != nullptr ? clock : &SystemClock;
}

void Internals::SkipTime(std::chrono::milliseconds time)
{
    const std::lock_guard lock(eventsMutex);
    skipped = skipped.load() + time;
    WakeSleepers();
}

Internals::SteadyTime Internals::SteadyNow()
{
    return std::chrono::steady_clock::now() + skipped.load();
}

Internals::SteadyTime Internals::SystemMoment(SteadyTime time)
{
    return time == SteadyTime::max() ? time : time - skipped.load();
}

std::uint64_t Misc::now()
{
    const std::uint64_t milliseconds = currentClock.load()();
    // 0 stands for "no time" in records that hold one.
    return milliseconds != 0 ? milliseconds : 1;
}

} // namespace ZKT
