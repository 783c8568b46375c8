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

    /// Asks the thread to stop. From now on StopRequested is true in it, its waits for events and
    /// its sleeps end at once, and a call to a device that it is in is broken off where the system
    /// can do that. The thread ends by returning from its target. Any thread, any number of times.
    void Cancel();

  private:
    std::shared_ptr<ThreadState> m_State;
};

} // namespace Windows
} // namespace ZKT::Internals

namespace ZKT::Threading
{

/// Whether the calling thread was asked to stop. False in a thread that no CThread started. What
/// takes long asks this before and after each step, and then fails.
ZELKIT_API bool StopRequested() noexcept;

/// Sleeps, on a clock that no one can set. Ends early when the calling thread is asked to stop.
/// Needs no memory.
ZELKIT_API void SleepFor(std::uint32_t milliseconds) noexcept;

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

    /// Starts the thread, with all signals blocked in it. An exception that leaves the target ends
    /// the thread and is reported on standard error.
    /// @param suspended  no thread can be created suspended: true gives RESULT_INVALID
    /// @return RESULT_SUCCESS; RESULT_NO_RESOURCES; RESULT_INVALID for a second call
    std::uint32_t Create(Delegates_and_Calls::CDelegate target, bool suspended);

    /// Whether the last Create of this process found no resources. A host can tell by it why
    /// nothing runs. Any thread.
    static bool HasCreateFailed();

    /// Waits for the end of the thread. Not ended by a request to stop the caller. Needs no memory.
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
