#include "libraries/zelKit/SystemThread.h"

#include "contracts/zelKit/windows/SystemCall.h"
#include "libraries/zelKit/ThreadState.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include <windows.h>

namespace ZKT
{
namespace Internals
{

namespace
{

static_assert(sizeof(SRWLOCK) == sizeof(void*) && sizeof(CONDITION_VARIABLE) == sizeof(void*));

SRWLOCK* LockOf(void*& storage)
{
    return reinterpret_cast<SRWLOCK*>(&storage);
}

CONDITION_VARIABLE* ConditionOf(void*& storage)
{
    return reinterpret_cast<CONDITION_VARIABLE*>(&storage);
}

DWORD MillisecondsUntil(SteadyTime moment)
{
    if (moment == SteadyTime::max())
        return INFINITE;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(moment - std::chrono::steady_clock::now());
    constexpr std::int64_t longest = INFINITE - 1;
    return static_cast<DWORD>(std::clamp<std::int64_t>(left.count(), 0, longest));
}

} // namespace

void SystemMutex::lock() noexcept
{
    AcquireSRWLockExclusive(LockOf(m_Lock));
}

void SystemMutex::unlock() noexcept
{
    ReleaseSRWLockExclusive(LockOf(m_Lock));
}

void SystemCondition::WakeOne() noexcept
{
    WakeConditionVariable(ConditionOf(m_Condition));
}

void SystemCondition::WakeAll() noexcept
{
    WakeAllConditionVariable(ConditionOf(m_Condition));
}

void SystemCondition::Sleep(std::unique_lock<SystemMutex>& lock, SteadyTime until) noexcept
{
    SleepConditionVariableSRW(ConditionOf(m_Condition), LockOf(lock.mutex()->m_Lock),
                              MillisecondsUntil(until), 0);
}

ThreadCalls::~ThreadCalls()
{
    if (m_Thread != nullptr)
        CloseHandle(m_Thread);
}

void ThreadCalls::Enter() noexcept
{
    if (m_Thread == nullptr)
    {
        HANDLE self = nullptr;
        DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &self, 0,
                        FALSE, DUPLICATE_SAME_ACCESS);
        m_Thread = self;
    }
    m_IsInCall = true;
}

void ThreadCalls::BreakOff() noexcept
{
    // A call that is marked and not begun has nothing to be broken off yet, and some wait for more
    // than one thing: it is tried again for a moment. A driver that does not let go is not waited
    // for.
    constexpr int attempts = 50;
    for (int attempt = 0; attempt < attempts && m_IsInCall; ++attempt)
    {
        CancelSynchronousIo(m_Thread);
        ::Sleep(1);
    }
}

std::thread StartThread(std::function<void()> body)
{
    return std::thread(std::move(body));
}

} // namespace Internals

namespace Threading
{

using Internals::t_Thread;

CInterruptibleCall::CInterruptibleCall() noexcept
{
    if (t_Thread != nullptr)
        t_Thread->calls.Enter();
}

CInterruptibleCall::~CInterruptibleCall()
{
    if (t_Thread != nullptr)
        t_Thread->calls.Leave();
}

} // namespace Threading
} // namespace ZKT
