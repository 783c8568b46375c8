#include "contracts/zelKit/Thread.h"

#include "libraries/zelKit/Deadline.h"
#include "libraries/zelKit/Output.h"
#include "libraries/zelKit/System.h"

#include <exception>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace ZKT
{
namespace Internals
{

std::atomic<bool> hasCreateFailed = false;

struct ThreadState
{
    std::mutex mutex;
    std::vector<SleepingPlace*> waiting; // for its end
    bool ended = false;                  // while it is false, the thread can be cancelled
    SystemThread thread;
    const void* code = nullptr; // in the library that the target lies in
};

namespace
{

using Delegates_and_Calls::CDelegate;

/// Marks the end of the thread, also when it is cancelled.
class EndMark
{
  public:
    explicit EndMark(ThreadState& state) : m_State(state) {}
    ~EndMark()
    {
        const std::lock_guard lock(m_State.mutex);
        m_State.ended = true;
        for (SleepingPlace* bed : m_State.waiting)
            bed->Wake();
    }
    EndMark(const EndMark&) = delete;
    EndMark& operator=(const EndMark&) = delete;

  private:
    ThreadState& m_State;
};

// Nothing but std::exception is caught: a cancellation has to pass.
void Run(ThreadState& state, const CDelegate& target)
{
    const EndMark mark(state);
    try
    {
        target();
    }
    catch (const std::exception& error)
    {
        Complain(std::string("a thread ended by an exception: ") + error.what());
    }
}

/// A thread's wait for the end of another. The lock is held whenever it is made or destroyed, also
/// while a cancelled wait is unwound.
class WaitForEnd
{
  public:
    explicit WaitForEnd(ThreadState& state) : m_State(state) { m_State.waiting.push_back(&m_Bed); }
    ~WaitForEnd() { std::erase(m_State.waiting, &m_Bed); }
    WaitForEnd(const WaitForEnd&) = delete;
    WaitForEnd& operator=(const WaitForEnd&) = delete;

    void Sleep(std::unique_lock<std::mutex>& lock, SteadyTime until) { m_Bed.Sleep(lock, until); }

  private:
    ThreadState& m_State;
    SleepingPlace m_Bed;
};

} // namespace

namespace Windows
{

CThreadCB_::CThreadCB_(std::shared_ptr<ThreadState> state) : m_State(std::move(state)) {}
CThreadCB_::~CThreadCB_() = default;

void CThreadCB_::Cancel()
{
    const std::lock_guard lock(m_State->mutex);
    if (!m_State->ended && !m_State->thread.IsCurrent())
        m_State->thread.Cancel();
}

} // namespace Windows
} // namespace Internals

namespace Threading
{

using Internals::ThreadState;

CCancellationShield::CCancellationShield() : m_Previous(Internals::ShieldThread()) {}

CCancellationShield::~CCancellationShield()
{
    Internals::UnshieldThread(m_Previous);
}

CThread::CThread() = default;

CThread::~CThread()
{
    if (m_State == nullptr)
        return;
    // Whoever destroys this may be cancelled, but not in here.
    const CCancellationShield shield;
    Internals::SystemThread thread;
    bool ended = false;
    {
        const std::lock_guard lock(m_State->mutex);
        thread = std::move(m_State->thread);
        ended = m_State->ended;
    }
    if (ended)
        thread.Join(); // nothing but its last steps is left; gives its memory back
    else
    {
        thread.Detach();
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
            state->thread.Start([state, target = std::move(target)]
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
    if (m_State->ended)
        return RESULT_SUCCESS;
    if (milliseconds == 0)
        return RESULT_TIMEOUT;
    Internals::WaitForEnd wait(*m_State);
    const Internals::SteadyTime deadline = Internals::DeadlineAfter(milliseconds);
    while (!m_State->ended && std::chrono::steady_clock::now() < deadline)
        wait.Sleep(lock, deadline);
    return m_State->ended ? RESULT_SUCCESS : RESULT_TIMEOUT;
}

} // namespace Threading
} // namespace ZKT
