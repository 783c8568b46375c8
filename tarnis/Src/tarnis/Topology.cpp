// Command 4: the whole tree, with every property and operation filled in.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Locks.h"
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisAdapter/AdapterQueries.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDriveQueries.h"

namespace NAMESPACE_tarnis
{

PI::_ERROR_CODE IPLUGINAPI_IMPL::GetTopology(std::vector<PI::CObject>& objects)
{
    Trace(TRACE_FLOW, "ENTER GetTopology");
    const DataGuard guard(m_DataLock);
    objects.clear();
    objects.reserve(1 + m_Adapters.size() + m_PhysicalDrives.size());

    // Only the base of a record travels: what else it holds reaches the host as properties.
    PI::CObject& plugin = objects.emplace_back(m_Plugin);
    GetPluginProperties(m_Plugin, plugin.m_Properties, PI::PROP_UNDEFINED);
    GetPluginOperations(m_Plugin, plugin.m_Operations);

    for (const CAHCIAdapter& adapter : m_Adapters)
    {
        PI::CObject& object = objects.emplace_back(adapter);
        GetAdapterProperties(adapter, object.m_Properties, PI::PROP_UNDEFINED);
        GetAdapterOperations(adapter, object.m_Operations);
        Trace(TRACE_DETAIL, "GetTopology() Adapter m_ID=0x%x", object.m_ID);
    }
    Trace(TRACE_DETAIL, "GetTopology() m_Adapters = %d", m_Adapters.size());

    for (const CAHCIPhysicalDrive& drive : m_PhysicalDrives)
    {
        PI::CObject& object = objects.emplace_back(drive);
        GetPhysicalDriveProperties(drive, object.m_Properties, PI::PROP_UNDEFINED);
        GetPhysicalDriveOperations(drive, object.m_Operations);
        Trace(TRACE_DETAIL, "GetTopology() PhysicalDrive m_ID=0x%x", object.m_ID);
    }
    Trace(TRACE_DETAIL, "GetTopology() m_PhysicalDrives = %d", m_PhysicalDrives.size());
    Trace(TRACE_FLOW, "LEAVE GetTopology");
    return PI::ERR_SUCCESS;
}

} // namespace NAMESPACE_tarnis
