#pragma once

#include "contracts/Export.h"
#include "contracts/zelKit/Event.h"
#include "contracts/zelKit/Result.h"

#include <boost/container/small_vector.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace ZKT::Threading
{

/// Waits for one of several events, or for all of them. One thread at a time uses a waiter. Of up
/// to InPlace handles it is built without memory.
class ZELKIT_API CWaiter
{
  public:
    static constexpr std::size_t InPlace = 4;

    CWaiter(std::initializer_list<CWaitHandle> handles);
    ~CWaiter();
    CWaiter(const CWaiter&) = delete;
    CWaiter& operator=(const CWaiter&) = delete;

    /// Sleeps until an event is signalled or the time has run out. Time is measured on a clock that
    /// no one can set. Of several signalled events the first in order is reported and consumed.
    /// Needs no memory.
    /// @param waitForAll  wait until all are signalled at once; all are consumed then
    /// @return 1-based position of the signalled handle (1 for all); RESULT_TIMEOUT;
    ///         RESULT_STOPPED, with nothing consumed, once the calling thread was asked to stop;
    ///         RESULT_NOT_INITIALISED when an event was never initialised; RESULT_INVALID for no
    ///         handles, or so many that a position could be taken for a result
    std::uint32_t Wait(std::uint32_t milliseconds, bool waitForAll);

  private:
    boost::container::small_vector<CWaitHandle, InPlace> m_Handles;
};

/// A span of time that runs down.
class ZELKIT_API CWaitInterval
{
  public:
    explicit CWaitInterval(std::uint32_t milliseconds) { Restart(milliseconds); }

    /// Begins anew with this many milliseconds; Infinite never runs down.
    void Restart(std::uint32_t milliseconds);

    /// Milliseconds left, rounded up, 0 when it has run down.
    operator std::uint32_t() const;

  private:
    std::chrono::steady_clock::time_point m_End;
    bool m_Infinite = false;
};

} // namespace ZKT::Threading
