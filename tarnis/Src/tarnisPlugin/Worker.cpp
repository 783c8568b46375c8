// The worker thread: waits for its events and for its interval to run down.
//
// Nothing here may be noexcept or catch all: DeInitialize cancels a worker that does not end, and
// cancellation unwinds these frames.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Trace.h"

#include <algorithm>
#include <limits>

namespace NAMESPACE_tarnis
{
namespace
{

constexpr std::uint32_t FirstInterval = 100; // ms

/// Positions in the wait set.
enum Woken : std::uint32_t
{
    WOKEN_FORCE = 1,
    WOKEN_STOP = 2,
    WOKEN_PRIVATE = 3,
    WOKEN_TIMEOUT = ZKT::RESULT_TIMEOUT,
};

/// Milliseconds of an interval. A host can store 0 and more seconds than fit: neither may turn the
/// thread into a busy loop.
std::uint32_t IntervalMilliseconds(std::uint32_t seconds)
{
    constexpr std::uint32_t most = (std::numeric_limits<std::uint32_t>::max() - 1) / 1000;
    return std::clamp(seconds, 1U, most) * 1000;
}

} // namespace

void IPLUGINAPI_IMPL::Worker()
{
    Trace(TRACE_FLOW, "ENTER Worker()");
    ZKT::Threading::CWaitInterval interval(FirstInterval);
    {
        ZKT::Threading::CWaiter waiter({m_ForceWorker.GetWaitHandle(),
                                        m_StopRequest.GetWaitHandle(),
                                        m_PrivateEvent.GetWaitHandle()});
        for (bool leave = false; !leave;)
        {
            switch (waiter.Wait(interval, false))
            {
            case WOKEN_FORCE:
                Trace(TRACE_DETAIL, "Worker() m_ForceWorker event received, force scan");
                break;
            case WOKEN_PRIVATE:
                Trace(TRACE_DETAIL, "Worker() m_PrivateEvent event received");
                RingHost();
                break;
            case WOKEN_TIMEOUT:
                Trace(TRACE_DETAIL, "Worker() timeout event received");
                break;
            default:
                Trace(TRACE_DETAIL, "Worker() something else perhaps m_StopRequest");
                leave = true;
                continue;
            }
            Trace(TRACE_FLOW, "Worker() before restart interval");
            interval.Restart(IntervalMilliseconds(m_PollInterval));
        }
        Trace(TRACE_FLOW, "LEAVE Worker()");
    }
}

void IPLUGINAPI_IMPL::RingHost()
{
    if (m_HostCallback == nullptr)
        return;
    // The host's code may be noexcept or catch everything, and neither outlives a cancellation.
    const ZKT::Threading::CCancellationShield shield;
    m_HostCallback(m_HostContext, this);
}

} // namespace NAMESPACE_tarnis
