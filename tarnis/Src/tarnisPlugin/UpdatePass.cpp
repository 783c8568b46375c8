// Brings the instance into line with a new picture: what came, went and changed, as events, change
// counts and rows.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisPlugin/DriveEvents.h"

#include <algorithm>

namespace NAMESPACE_tarnis
{
namespace
{

bool IsSame(const CAHCIAdapter& a, const CAHCIAdapter& b)
{
    return a.m_AdapterNumber == b.m_AdapterNumber;
}

bool IsSame(const CAHCIPhysicalDrive& a, const CAHCIPhysicalDrive& b)
{
    return a.m_AdapterNumber == b.m_AdapterNumber && a.m_DeviceNumber == b.m_DeviceNumber;
}

/// The first record of the same object, or null.
template <class Record> auto FindSame(std::vector<Record>& records, const Record& wanted)
{
    const auto found = std::find_if(records.begin(), records.end(),
                                    [&](const Record& record) { return IsSame(record, wanted); });
    return found == records.end() ? nullptr : &*found;
}

} // namespace

PI::_ERROR_CODE IPLUGINAPI_IMPL::UpdateSystem(std::vector<CAHCIAdapter>& adapters,
                                              std::vector<CAHCIPhysicalDrive>& drives)
{
    Trace(TRACE_FLOW, "ENTER UpdateSystem for %d adapter, %d physicalDrives", adapters.size(),
          drives.size());
    if (adapters.size() != m_Adapters.size())
        ++m_Plugin.m_ChangeCount;
    for (CAHCIAdapter& adapter : adapters)
    {
        const CAHCIAdapter* old = FindSame(m_Adapters, adapter);
        if (old == nullptr || adapter == *old)
            continue;
        ++adapter.m_ChangeCount;
        adapter.m_GlobalAdapterNumber = old->m_GlobalAdapterNumber;
    }
    m_Adapters = adapters;

    // The order of events in the queue: added, removed, changed.
    const std::vector<CAHCIPhysicalDrive> added = RaiseMissing(drives, m_PhysicalDrives);
    const std::vector<CAHCIPhysicalDrive> removed = RaiseMissing(m_PhysicalDrives, drives);
    for (const CAHCIPhysicalDrive& old : m_PhysicalDrives)
    {
        CAHCIPhysicalDrive* drive = FindSame(drives, old);
        if (drive == nullptr || *drive == old)
            continue;
        if (drive->m_Status == PI::VAL_AVAILABLE_SMART && old.m_Status == PI::VAL_AVAILABLE)
            for (const CAHCIAdapter& adapter : m_Adapters)
                if (adapter.m_AdapterNumber == drive->m_AdapterNumber)
                {
                    m_Events.push_back(
                        DriveEvent(*drive, adapter, PI::EVENT_SMART_ERROR, SeverityTrouble));
                    drive->m_GlobalAdapterNumber = adapter.m_GlobalAdapterNumber;
                }
        ++drive->m_ChangeCount;
    }
    m_PhysicalDrives = drives;

    UpdateObjectInDatabase(m_Plugin);
    for (const CAHCIAdapter& adapter : m_Adapters)
        UpdateObjectInDatabase(adapter);
    for (const CAHCIPhysicalDrive& drive : added)
        InsertObjectToDatabase(drive);
    for (const CAHCIPhysicalDrive& drive : m_PhysicalDrives)
        UpdateObjectInDatabase(drive);
    for (const CAHCIPhysicalDrive& drive : removed)
        DeleteObjectFromDatabase(drive);
    Trace(TRACE_FLOW, "LEAVE UpdateSystem ret = %d", PI::ERR_SUCCESS);
    return PI::ERR_SUCCESS;
}

std::vector<CAHCIPhysicalDrive>
IPLUGINAPI_IMPL::RaiseMissing(std::vector<CAHCIPhysicalDrive>& drives,
                              std::vector<CAHCIPhysicalDrive>& others)
{
    std::vector<CAHCIPhysicalDrive> missing;
    for (CAHCIPhysicalDrive& drive : drives)
    {
        if (FindSame(others, drive) != nullptr)
            continue;
        for (const CAHCIAdapter& adapter : m_Adapters)
            if (adapter.m_AdapterNumber == drive.m_AdapterNumber)
            {
                m_Events.push_back(DriveChangeEvent(drive, adapter));
                drive.m_GlobalAdapterNumber = adapter.m_GlobalAdapterNumber;
                missing.push_back(drive);
            }
    }
    return missing;
}

} // namespace NAMESPACE_tarnis
