// The worker thread: waits for its events and for its interval to run down, and runs the passes.
//
// Only the result of a wait ends it: waiting and locking need no memory, and a pass throws nothing.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Locks.h"
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisPlugin/DriveEvents.h"

#include <algorithm>
#include <exception>
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
    std::uint64_t lastPassTime = 0;
    {
        ZKT::Threading::CWaiter waiter({m_ForceWorker.GetWaitHandle(),
                                        m_StopRequest.GetWaitHandle(),
                                        m_PrivateEvent.GetWaitHandle()});
        for (bool leave = false; !leave;)
        {
            bool ring = true;
            switch (waiter.Wait(interval, false))
            {
            case WOKEN_FORCE:
                Trace(TRACE_DETAIL, "Worker() m_ForceWorker event received, force scan");
                ring = RunPass(lastPassTime);
                break;
            case WOKEN_PRIVATE:
                Trace(TRACE_DETAIL, "Worker() m_PrivateEvent event received");
                break;
            case WOKEN_TIMEOUT:
                Trace(TRACE_DETAIL, "Worker() timeout event received");
                ring = RunPass(lastPassTime);
                break;
            default:
                Trace(TRACE_DETAIL, "Worker() something else perhaps m_StopRequest");
                leave = true;
                continue;
            }
            if (ring)
                RingHost();
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
    try
    {
        m_HostCallback(m_HostContext, this);
    }
    catch (...)
    {
        Trace(TRACE_FLOW, "Worker() the host's callback threw an exception");
    }
}

bool IPLUGINAPI_IMPL::RunPass(std::uint64_t& lastPassTime)
{
    std::vector<CAHCIAdapter> newAdapters;
    std::vector<CAHCIPhysicalDrive> newDrives;
    PI::_ERROR_CODE result = PI::ERR_GENERAL;

    const TracedLock data(m_DataLock, "m_DataLock.Wait(INFINITE)", "m_DataLock.Release ()");
    const TracedLock queue(m_EventsLock, "m_EventsLock.Wait(INFINITE)", "m_EventsLock.Release ()");
    try
    {
        const std::uint64_t now = ZKT::Misc::now();
        if (IsReportDue(lastPassTime, now, m_SnmpTrapReportTime1, m_SnmpTrapReportTime2))
        {
            std::vector<PI::CEvent> standing;
            ReportConditions(m_PhysicalDrives, m_Adapters,
                             {m_WearLevelThreshold, m_ReservedCellsThreshold}, standing);
            QueueEvents(standing);
        }
        lastPassTime = now;

        Trace(TRACE_PROGRESS, "Before ScanSystem()");
        result = ScanSystem(newAdapters, newDrives, false);
        // Calls that were refused because of it say nothing about the drives.
        if (ZKT::Threading::StopRequested())
            result = PI::ERR_GENERAL;
        Trace(TRACE_PROGRESS, "After ScanSystem() ret = %d", result);
        if (result == PI::ERR_SUCCESS)
        {
            for (CAHCIAdapter& adapter : newAdapters)
                adapter.GetParents().reserve(1); // the links below shall need no memory
            Trace(TRACE_PROGRESS, "Before UpdateSystem()");
            result = UpdateSystem(newAdapters, newDrives);
            Trace(TRACE_PROGRESS, "After UpdateSystem() ret = %d", result);
            LinkAdapters();
        }
    }
    catch (const std::exception& error)
    {
        // Memory ran out: the old picture stands, and the next pass tries again.
        result = PI::ERR_GENERAL;
        Trace(TRACE_FLOW, "Worker() pass abandoned: %s", error.what());
    }
    return !m_Events.empty() || result == PI::ERR_SUCCESS;
}

void IPLUGINAPI_IMPL::LinkAdapters()
{
    m_Plugin.GetChildren().clear();
    for (CAHCIAdapter& adapter : m_Adapters)
    {
        adapter.GetParents().assign(1, m_Plugin.GetID());
        m_Plugin.GetChildren().push_back(adapter.GetID());
    }
}

} // namespace NAMESPACE_tarnis
