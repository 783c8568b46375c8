#include "tests/faults/Clock.h"

#include "tests/faults/Interposed.h"

#include <cstdlib>
#include <initializer_list>

#include <pthread.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

extern "C" int open(const char* path, int flags, ...);

namespace
{

constexpr long Second = 1000000000; // ns

long g_speed = 1;
long g_start[2]; // of CLOCK_REALTIME and CLOCK_MONOTONIC, when the speed was set

long Nanoseconds(const timespec& time)
{
    return time.tv_sec * Second + time.tv_nsec;
}

timespec TimeOf(long nanoseconds)
{
    return {nanoseconds / Second, nanoseconds % Second};
}

int SystemClock(clockid_t clock, timespec& time)
{
    return static_cast<int>(::syscall(SYS_clock_gettime, clock, &time));
}

/// Seconds by which the file in CLOCK_SHIFT sets the time of day ahead.
long Shift()
{
    const char* const name = std::getenv("CLOCK_SHIFT");
    if (name == nullptr)
        return 0;
    const Faults::Spared harness;
    const int file = ::open(name, 02000000);
    char text[32] = {};
    if (file < 0 || ::read(file, text, sizeof text - 1) < 0)
        return 0;
    ::close(file);
    return std::strtol(text, nullptr, 10);
}

/// Converts a moment of the program's fast clock to the system's clock. Both clocks come here: a
/// time of day is larger than a time since the computer's start.
timespec SystemMoment(const timespec& time)
{
    const long start = g_start[time.tv_sec > Second ? CLOCK_REALTIME : CLOCK_MONOTONIC];
    return g_speed == 1 ? time : TimeOf(start + (Nanoseconds(time) - start) / g_speed);
}

timespec SystemSpan(const timespec& time)
{
    return TimeOf(Nanoseconds(time) / g_speed);
}

} // namespace

void Faults::SetClockSpeed(long speed)
{
    for (const clockid_t clock : {CLOCK_REALTIME, CLOCK_MONOTONIC})
    {
        timespec time;
        SystemClock(clock, time);
        g_start[clock] = Nanoseconds(time);
    }
    g_speed = speed;
}

INTERPOSED int Shown_clock_gettime(clockid_t clock, timespec* time) __asm__("clock_gettime");
int Shown_clock_gettime(clockid_t clock, timespec* time)
{
    const int result = SystemClock(clock, *time);
    if (result == 0 && clock <= CLOCK_MONOTONIC && g_speed != 1)
        *time = TimeOf(g_start[clock] + (Nanoseconds(*time) - g_start[clock]) * g_speed);
    if (result == 0 && clock == CLOCK_REALTIME)
        time->tv_sec += Shift();
    return result;
}

INTERPOSED int Fast_nanosleep(const timespec* time, timespec* left) __asm__("nanosleep");
int Fast_nanosleep(const timespec* time, timespec* left)
{
    static auto* const next = Faults::Next<int(const timespec*, timespec*)>("nanosleep");
    const timespec shorter = SystemSpan(*time);
    return next(&shorter, left);
}

INTERPOSED int Fast_clock_nanosleep(clockid_t clock, int flags, const timespec* time,
                                    timespec* left) __asm__("clock_nanosleep");
int Fast_clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* left)
{
    static auto* const next =
        Faults::Next<int(clockid_t, int, const timespec*, timespec*)>("clock_nanosleep");
    const timespec moment = flags == 0 ? SystemSpan(*time) : SystemMoment(*time);
    return next(clock, flags, &moment, left);
}

// The database waits so for locks, and counts how long it slept: it may begin at once.
INTERPOSED int Fast_usleep(unsigned microseconds) __asm__("usleep");
int Fast_usleep(unsigned microseconds)
{
    const timespec time = TimeOf(g_speed == 1 ? microseconds * 1000L : 0);
    return Fast_nanosleep(&time, nullptr);
}

INTERPOSED int Fast_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                              const timespec* until) __asm__("pthread_cond_timedwait");
int Fast_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* until)
{
    static auto* const next = Faults::Next<int(pthread_cond_t*, pthread_mutex_t*, const timespec*)>(
        "pthread_cond_timedwait");
    const timespec moment = SystemMoment(*until);
    return next(condition, mutex, &moment);
}

INTERPOSED int Fast_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                              const timespec* until) __asm__("pthread_cond_clockwait");
int Fast_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                   const timespec* until)
{
    static auto* const next =
        Faults::Next<int(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*)>(
            "pthread_cond_clockwait");
    const timespec moment = SystemMoment(*until);
    return next(condition, mutex, clock, &moment);
}

INTERPOSED int Fast_timer(int timer, int flags, const itimerspec* time,
                          itimerspec* before) __asm__("timerfd_settime");
int Fast_timer(int timer, int flags, const itimerspec* time, itimerspec* before)
{
    static auto* const next =
        Faults::Next<int(int, int, const itimerspec*, itimerspec*)>("timerfd_settime");
    const itimerspec sooner{SystemSpan(time->it_interval), (flags & TFD_TIMER_ABSTIME) == 0
                                                               ? SystemSpan(time->it_value)
                                                               : SystemMoment(time->it_value)};
    return next(timer, flags, &sooner, before);
}
