#include "contracts/zelKit/Thread.h"

#include "libraries/zelKit/Deadline.h"
#include "libraries/zelKit/EventState.h"
#include "libraries/zelKit/Output.h"
#include "libraries/zelKit/System.h"
#include "libraries/zelKit/ThreadState.h"

#include <exception>
#include <mutex>
#include <utility>

namespace ZKT
{
namespace Internals
{

thread_local ThreadState* t_Thread = nullptr;

namespace
{

using Delegates_and_Calls::CDelegate;

std::atomic<bool> hasCreateFailed = false;

void RunTarget(const CDelegate& target) noexcept
{
    try
    {
        target();
    }
    catch (const std::exception& error)
    {
        Complain("a thread ended by an exception: ", error.what());
    }
    catch (...)
    {
        Complain("a thread ended by an exception that is none of the C++ library's");
    }
}

void Run(ThreadState& state, const CDelegate& target) noexcept
{
    t_Thread = &state;
    RunTarget(target);
    t_Thread = nullptr;
    const std::lock_guard lock(state.mutex);
    state.ended = true;
    state.hasEnded.WakeAll();
}

} // namespace

namespace Windows
{

CThreadCB_::CThreadCB_(std::shared_ptr<ThreadState> state) : m_State(std::move(state)) {}
CThreadCB_::~CThreadCB_() = default;

void CThreadCB_::Cancel()
{
    {
        const std::lock_guard lock(eventsMutex);
        m_State->stopRequested = true;
        WakeSleepers();
    }
    const std::lock_guard lock(m_State->mutex);
    if (!m_State->ended)
        m_State->calls.BreakOff();
}

} // namespace Windows
} // namespace Internals

namespace Threading
{

using Internals::ThreadState;

bool StopRequested() noexcept
{
    return Internals::t_Thread != nullptr && Internals::t_Thread->stopRequested;
}

CThread::CThread() = default;

CThread::~CThread()
{
    if (m_State == nullptr)
        return;
    std::unique_lock lock(m_State->mutex);
    std::thread thread = std::move(m_State->thread);
    const bool ended = m_State->ended;
    lock.unlock();
    if (ended)
        thread.join(); // nothing but its last steps is left; gives its memory back
    else
    {
        thread.detach();
        Internals::KeepLoaded(m_State->code);
    }
}

std::uint32_t CThread::Create(Delegates_and_Calls::CDelegate target, bool suspended)
{
    if (suspended || m_State != nullptr)
        return RESULT_INVALID;
    try
    {
        auto state = std::make_shared<ThreadState>();
        state->code = target.GetCode();
        auto controlBlock = std::make_unique<Internals::Windows::CThreadCB_>(state);
        {
            const std::lock_guard lock(state->mutex);
            state->thread = Internals::StartThread([state, target = std::move(target)]
                                                   { Internals::Run(*state, target); });
        }
        m_State = std::move(state);
        m_ControlBlock = std::move(controlBlock);
    }
    catch (const std::exception&)
    {
        Internals::hasCreateFailed = true;
        return RESULT_NO_RESOURCES;
    }
    Internals::hasCreateFailed = false;
    return RESULT_SUCCESS;
}

bool CThread::HasCreateFailed()
{
    return Internals::hasCreateFailed;
}

std::uint32_t CThread::Wait(std::uint32_t milliseconds)
{
    if (m_State == nullptr)
        return RESULT_NOT_INITIALISED;
    std::unique_lock lock(m_State->mutex);
    const Internals::SteadyTime deadline = Internals::DeadlineAfter(milliseconds);
    while (!m_State->ended && std::chrono::steady_clock::now() < deadline)
        m_State->hasEnded.Sleep(lock, deadline);
    return m_State->ended ? RESULT_SUCCESS : RESULT_TIMEOUT;
}

} // namespace Threading
} // namespace ZKT
