// Brings the instance into line with a new picture: what came, went and changed, as events, change
// counts and rows.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisPlugin/DriveEvents.h"
#include "tarnis/Src/tarnisPlugin/Identity.h"

namespace NAMESPACE_tarnis
{
namespace
{

/// Raises the event of each drive that is not among the others, and gives copies of these drives.
std::vector<CAHCIPhysicalDrive> RaiseMissing(std::vector<CAHCIPhysicalDrive>& drives,
                                             std::vector<CAHCIPhysicalDrive>& others,
                                             const std::vector<CAHCIAdapter>& adapters,
                                             std::vector<PI::CEvent>& raised)
{
    std::vector<CAHCIPhysicalDrive> missing;
    const DriveIndex known(others);
    for (CAHCIPhysicalDrive& drive : drives)
    {
        if (known.Find(drive) != nullptr)
            continue;
        for (const CAHCIAdapter& adapter : adapters)
            if (adapter.m_AdapterNumber == drive.m_AdapterNumber)
            {
                raised.push_back(DriveChangeEvent(drive, adapter));
                drive.m_GlobalAdapterNumber = adapter.m_GlobalAdapterNumber;
                missing.push_back(drive);
            }
    }
    return missing;
}

/// Raises the event of a drive that turned bad.
void RaiseFailing(CAHCIPhysicalDrive& drive, const std::vector<CAHCIAdapter>& adapters,
                  std::vector<PI::CEvent>& raised)
{
    for (const CAHCIAdapter& adapter : adapters)
        if (adapter.m_AdapterNumber == drive.m_AdapterNumber)
        {
            raised.push_back(DriveEvent(drive, adapter, PI::EVENT_SMART_ERROR, SeverityTrouble));
            drive.m_GlobalAdapterNumber = adapter.m_GlobalAdapterNumber;
        }
}

} // namespace

PI::_ERROR_CODE IPLUGINAPI_IMPL::UpdateSystem(std::vector<CAHCIAdapter>& adapters,
                                              std::vector<CAHCIPhysicalDrive>& drives)
{
    Trace(TRACE_FLOW, "ENTER UpdateSystem for %d adapter, %d physicalDrives", adapters.size(),
          drives.size());
    const bool adaptersCameOrWent = adapters.size() != m_Adapters.size();
    for (CAHCIAdapter& adapter : adapters)
    {
        const CAHCIAdapter* old = FindSame(m_Adapters, adapter);
        if (old == nullptr || adapter == *old)
            continue;
        ++adapter.m_ChangeCount;
        adapter.m_GlobalAdapterNumber = old->m_GlobalAdapterNumber;
    }

    // The order of events in the queue: added, removed, changed.
    std::vector<PI::CEvent> raised;
    const auto added = RaiseMissing(drives, m_PhysicalDrives, adapters, raised);
    const auto removed = RaiseMissing(m_PhysicalDrives, drives, adapters, raised);
    const DriveIndex current(drives);
    for (const CAHCIPhysicalDrive& old : m_PhysicalDrives)
    {
        CAHCIPhysicalDrive* drive = current.Find(old);
        if (drive == nullptr || *drive == old)
            continue;
        if (drive->m_Status == PI::VAL_AVAILABLE_SMART && old.m_Status == PI::VAL_AVAILABLE)
            RaiseFailing(*drive, adapters, raised);
        ++drive->m_ChangeCount;
    }

    for (const CAHCIPhysicalDrive& drive : removed)
        m_DrivesGone.insert(drive.m_DeviceNumber);

    // Memory may have run out up to here, and then nothing has happened. From here on it cannot:
    // picture and events are taken over together.
    QueueEvents(raised);
    m_Plugin.m_ChangeCount += adaptersCameOrWent ? 1 : 0;
    m_Adapters.swap(adapters);
    m_PhysicalDrives.swap(drives);

    m_RowsInStep = {.behind = false, .catchUp = m_RowsInStep.behind};
    UpdateObjectInDatabase(m_Plugin);
    for (const CAHCIAdapter& adapter : m_Adapters)
        UpdateObjectInDatabase(adapter);
    for (const CAHCIPhysicalDrive& drive : added)
        InsertObjectToDatabase(drive);
    for (const CAHCIPhysicalDrive& drive : m_PhysicalDrives)
        UpdateObjectInDatabase(drive);
    for (const CAHCIPhysicalDrive& drive : removed)
        DeleteObjectFromDatabase(drive);
    if (m_RowsInStep.catchUp)
        for (const CAHCIAdapter& adapter : m_Adapters)
            RemoveStaleDriveRows(adapter);
    m_RowsInStep.catchUp = false;
    Trace(TRACE_FLOW, "LEAVE UpdateSystem ret = %d", PI::ERR_SUCCESS);
    return PI::ERR_SUCCESS;
}

} // namespace NAMESPACE_tarnis
