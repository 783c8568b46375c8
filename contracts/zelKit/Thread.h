#pragma once

#include "contracts/Export.h"
#include "contracts/zelKit/Delegate.h"
#include "contracts/zelKit/Result.h"

#include <cstdint>
#include <memory>

namespace ZKT::Internals
{
struct ThreadState;

namespace Windows
{

/// Control block of a running or ended thread.
class ZELKIT_API CThreadCB_
{
  public:
    explicit CThreadCB_(std::shared_ptr<ThreadState> state);
    ~CThreadCB_();

    /// Ends the thread at the next point where it can be cancelled: a wait or a sleep of this
    /// toolkit, and those system calls that the operating system lets be cancelled. Its C++ frames
    /// are unwound. A thread that has ended, or that asks this of itself, is left alone.
    void Cancel();

  private:
    std::shared_ptr<ThreadState> m_State;
};

} // namespace Windows
} // namespace ZKT::Internals

namespace ZKT::Threading
{

/// While it lives, its thread is not cancelled. Needed around code that must not be unwound: file
/// calls inside a destructor, or a call into code that may be noexcept or catch everything.
class ZELKIT_API CCancellationShield
{
  public:
    CCancellationShield();
    ~CCancellationShield();
    CCancellationShield(const CCancellationShield&) = delete;
    CCancellationShield& operator=(const CCancellationShield&) = delete;

  private:
    int m_Previous;
};

/// One thread that runs a delegate once.
class ZELKIT_API CThread
{
  public:
    CThread();
    /// Ends no thread: one that still runs goes on without its object, and the library that its
    /// target lies in then stays loaded for good.
    ~CThread();
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /// Starts the thread, with all signals blocked in it. An std::exception that leaves the target
    /// ends the thread and is told on standard error.
    /// @param suspended  no thread can be created suspended: true gives RESULT_INVALID
    /// @return RESULT_SUCCESS; RESULT_NO_RESOURCES; RESULT_INVALID for a second call
    std::uint32_t Create(Delegates_and_Calls::CDelegate target, bool suspended);

    /// Whether the last Create of this process found no resources. A host can tell by it why
    /// nothing runs. Any thread.
    static bool HasCreateFailed();

    /// Waits for the end of the thread.
    /// @return RESULT_TIMEOUT while it runs, RESULT_SUCCESS once ended, RESULT_NOT_INITIALISED
    ///         when none was created
    std::uint32_t Wait(std::uint32_t milliseconds);

    /// Null before Create. Owned by the thread object.
    Internals::Windows::CThreadCB_* GetControlBlock() const { return m_ControlBlock.get(); }

  private:
    std::shared_ptr<Internals::ThreadState> m_State;
    std::unique_ptr<Internals::Windows::CThreadCB_> m_ControlBlock;
};

} // namespace ZKT::Threading
