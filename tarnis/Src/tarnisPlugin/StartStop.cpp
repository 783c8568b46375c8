// Commands 1 to 3: bring the instance up, start the worker, take it down.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Locks.h"
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisPlugin/Discovery.h"

#include <cstdio>

namespace NAMESPACE_tarnis
{
namespace
{

constexpr std::uint32_t WorkerPatience = 25000; // ms until a worker that does not end is stopped

/// Sleeps, and measures it. A sleep counts for twice its time at the most: in a process that was
/// suspended meanwhile, the worker had no more time than that.
std::uint32_t Slept(std::uint32_t milliseconds)
{
    const std::uint32_t most = 2 * milliseconds;
    const ZKT::Threading::CWaitInterval rest(most);
    ZKT::Threading::SleepFor(milliseconds);
    return most - rest;
}

void PrintAdapterCount(std::size_t count)
{
    std::printf("%s:  Initialize:  adapter count is %lu\n", g_ModuleInfo.GetName().c_str(),
                static_cast<unsigned long>(count));
    std::fflush(stdout);
}

PI::CAdapterID AdapterIDOf(const CAHCIAdapter& adapter)
{
    PI::CAdapterID id;
    id.m_PciSegment = static_cast<std::uint32_t>(adapter.m_PciSegment);
    id.m_PciBus = static_cast<std::uint32_t>(adapter.m_PciBus);
    id.m_PciDevice = static_cast<std::uint32_t>(adapter.m_PciDevice);
    id.m_PciFunction = static_cast<std::uint32_t>(adapter.m_PciFunction);
    id.m_AdapterNumber = static_cast<std::uint32_t>(adapter.m_AdapterNumber);
    return id;
}

} // namespace

bool IPLUGINAPI_IMPL::InitializeLocks(const SourceLocation& where)
{
    const auto failed = [&where](const char* name, std::uint32_t result)
    {
        if (result == ZKT::RESULT_SUCCESS)
            return false;
        Trace(TRACE_FLOW,
              {"LEAVE Initialize() %s.Init() -> PI::ERR_LOCK_INITIALIZATION_FAILED %d", where},
              name, result);
        return true;
    };
    return !failed("m_DataLock", m_DataLock.Init()) &&
           !failed("m_PrivateEventsLock", m_EventsLock.Init()) &&
           !failed("m_ForceWorker", m_ForceWorker.Init(false, false)) &&
           !failed("m_StopRequest", m_StopRequest.Init(false, true)) &&
           !failed("m_PrivateEvent", m_PrivateEvent.Init(false, false));
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::Initialize(std::vector<PI::CAdapterID>& adapterIDs)
{
    Trace(TRACE_FLOW, "ENTER Initialize()");
    if (!InitializeLocks(SourceLocation::current()))
        return PI::ERR_LOCK_INITIALIZATION_FAILED;

    std::vector<std::uint32_t> diskNumbers; // the scan walks the tree itself
    if (!FindStorageDriver(m_DriverName, diskNumbers))
    {
        PrintAdapterCount(0);
        Trace(TRACE_FLOW, "LEAVE Initialize() Registry check -> PI::ERR_NO_SUPPORTED_HARDWARE %d",
              PI::ERR_NO_SUPPORTED_HARDWARE);
        return PI::ERR_NO_SUPPORTED_HARDWARE;
    }
    ZKTX::CSystem::GetModuleVersion(m_DriverName, m_DriverVersion);

    const DataGuard guard(m_DataLock);
    m_Plugin.SetID(NextObjectId());
    m_Plugin.SetType(PI::OBJECT_PLUGIN);

    // Apart: nobody shall see a picture that was not finished for lack of memory.
    std::vector<CAHCIAdapter> adapters;
    std::vector<CAHCIPhysicalDrive> drives;
    PI::_ERROR_CODE result = ScanSystem(adapters, drives, true);
    for (CAHCIAdapter& adapter : adapters)
        adapter.GetParents().reserve(1);
    m_Plugin.GetChildren().reserve(adapters.size());
    adapterIDs.reserve(adapterIDs.size() + adapters.size());
    m_Adapters.swap(adapters);
    m_PhysicalDrives.swap(drives);
    Trace(TRACE_PROGRESS, "ScanSystem() ret = %d m_PhysicalDrives=%d", result,
          m_PhysicalDrives.size());
    if (result == PI::ERR_SUCCESS && !m_Adapters.empty())
    {
        LinkAdapters();
        for (const CAHCIAdapter& adapter : m_Adapters)
        {
            adapterIDs.push_back(AdapterIDOf(adapter));
            InsertObjectToDatabase(m_Plugin);
            InsertObjectToDatabase(adapter);
            for (const CAHCIPhysicalDrive& drive : m_PhysicalDrives)
                InsertObjectToDatabase(drive);
        }
    }
    else
    {
        DeleteObjectFromDatabase(m_Plugin);
        DeleteObjectFromDatabase(CAHCIAdapter());
        m_Adapters.clear();
        m_PhysicalDrives.clear();
        result = PI::ERR_NO_SUPPORTED_HARDWARE;
    }
    PrintAdapterCount(m_Adapters.size());
    Trace(TRACE_FLOW, "LEAVE Initialize() -> %d", result);
    return result;
}

const PI::CAdapterID* IPLUGINAPI_IMPL::FindAdapterID(const CAHCIAdapter& adapter) const
{
    for (const PI::CAdapterID& id : m_AdapterIDs)
        if (id.m_PciSegment == adapter.m_PciSegment && id.m_PciBus == adapter.m_PciBus &&
            id.m_PciDevice == adapter.m_PciDevice && id.m_PciFunction == adapter.m_PciFunction &&
            id.m_GlobalAdapterID != PI::CAdapterID::NoGlobalID)
            return &id;
    return nullptr;
}

// Holds no lock: the worker does not exist yet, and the host sends nothing beside this command.
PI::_ERROR_CODE IPLUGINAPI_IMPL::SetAdapterIDs(const std::vector<PI::CAdapterID>& adapterIDs)
    TARNIS_NO_THREAD_SAFETY_ANALYSIS
{
    Trace(TRACE_FLOW, "ENTER SetAdapterIDs");
    m_AdapterIDs.insert(m_AdapterIDs.end(), adapterIDs.begin(), adapterIDs.end());
    for (CAHCIAdapter& adapter : m_Adapters)
        if (const PI::CAdapterID* id = FindAdapterID(adapter))
            adapter.m_Name = AdapterName(adapter.m_Product, id->m_GlobalAdapterID);

    const ZKT::Delegates_and_Calls::CDelegate worker(this, &IPLUGINAPI_IMPL::Worker);
    m_WorkerThread = std::make_unique<ZKT::Threading::CThread>();
    m_WorkerThread->Create(worker, false);
    return PI::ERR_SUCCESS;
}

bool IPLUGINAPI_IMPL::IsWorkerRunning()
{
    return m_WorkerThread && m_WorkerThread->GetControlBlock() != nullptr &&
           m_WorkerThread->Wait(0) == ZKT::RESULT_TIMEOUT;
}

bool IPLUGINAPI_IMPL::AbandonRunningWorker()
{
    if (!IsWorkerRunning())
        return false;
    m_WorkerThread.reset();
    return true;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::DeInitialize()
{
    Trace(TRACE_FLOW, "ENTER DeInitialize");
    if (auto* stop = m_StopRequest.GetControlBlock())
        stop->Set();
    ZKT::Threading::SleepFor(100);

    std::uint32_t waited = 0;
    bool running = false;
    for (;;)
    {
        running = IsWorkerRunning();
        if (running)
            Trace(TRACE_PROGRESS, "Wait for termination... (Worker)");
        if (waited >= WorkerPatience || !running)
            break;
        waited += Slept(500);
    }
    if (running && IsWorkerRunning())
    {
        Trace(TRACE_PROGRESS, "Kill Worker");
        m_WorkerThread->GetControlBlock()->Cancel();
    }
    ZKT::Threading::SleepFor(100);
    Trace(TRACE_FLOW, "LEAVE DeInitialize");
    return PI::ERR_SUCCESS;
}

} // namespace NAMESPACE_tarnis
