#include "contracts/zelKit/Thread.h"

#include "libraries/zelKit/Deadline.h"
#include "libraries/zelKit/Output.h"

#include <condition_variable>
#include <csignal>
#include <dlfcn.h>
#include <exception>
#include <mutex>
#include <pthread.h>
#include <string>
#include <thread>
#include <utility>

namespace ZKT
{
namespace Internals
{

struct ThreadState
{
    std::mutex mutex;
    std::condition_variable changed;
    bool ended = false; // while it is false, the thread's handle is good
    std::thread thread;
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
        m_State.changed.notify_all();
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

/// Keeps the library that holds an address in memory for the life of the process.
void KeepLoaded(const void* code)
{
    Dl_info info;
    if (dladdr(code, &info) != 0 && info.dli_fname != nullptr)
        dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

/// Blocks all signals in the calling thread, and so in a thread that it creates.
class SignalsBlocked
{
  public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_Previous);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_Previous, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t m_Previous;
};

} // namespace

namespace Windows
{

CThreadCB_::CThreadCB_(std::shared_ptr<ThreadState> state) : m_State(std::move(state)) {}
CThreadCB_::~CThreadCB_() = default;

void CThreadCB_::Cancel()
{
    const std::lock_guard lock(m_State->mutex);
    if (!m_State->ended && m_State->thread.get_id() != std::this_thread::get_id())
        pthread_cancel(m_State->thread.native_handle());
}

} // namespace Windows
} // namespace Internals

namespace Threading
{

using Internals::ThreadState;

CCancellationShield::CCancellationShield()
{
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_Previous);
}

CCancellationShield::~CCancellationShield()
{
    pthread_setcancelstate(m_Previous, nullptr);
}

CThread::CThread() = default;

CThread::~CThread()
{
    if (m_State == nullptr)
        return;
    // Whoever destroys this may be cancelled, but not in here.
    const CCancellationShield shield;
    std::thread thread;
    bool ended = false;
    {
        const std::lock_guard lock(m_State->mutex);
        thread = std::move(m_State->thread);
        ended = m_State->ended;
    }
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
            const Internals::SignalsBlocked blocked;
            state->thread = std::thread([state, target = std::move(target)]
                                        { Internals::Run(*state, target); });
        }
        m_State = std::move(state);
        m_ControlBlock = std::move(controlBlock);
    }
    catch (const std::exception&)
    {
        return RESULT_NO_RESOURCES;
    }
    return RESULT_SUCCESS;
}

std::uint32_t CThread::Wait(std::uint32_t milliseconds)
{
    if (m_State == nullptr)
        return RESULT_NOT_INITIALISED;
    std::unique_lock lock(m_State->mutex);
    const bool ended = m_State->changed.wait_until(lock, Internals::DeadlineAfter(milliseconds),
                                                   [this] { return m_State->ended; });
    return ended ? RESULT_SUCCESS : RESULT_TIMEOUT;
}

} // namespace Threading
} // namespace ZKT
