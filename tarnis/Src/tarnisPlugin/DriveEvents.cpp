#include "tarnis/Src/tarnisPlugin/DriveEvents.h"

#include "contracts/zelKit.h"

#include <algorithm>

namespace NAMESPACE_tarnis
{
namespace
{

bool SameMinute(const ZKTX::CSystemDate_Win& a, const ZKTX::CSystemDate_Win& b)
{
    return a.m_Hour == b.m_Hour && a.m_Minute == b.m_Minute;
}

} // namespace

PI::CEvent DriveEvent(const CAHCIPhysicalDrive& drive, const CAHCIAdapter& adapter,
                      PI::_EVENT_ID id, std::int32_t severity)
{
    PI::CEvent event;
    event.m_ObjectID = drive.m_ID;
    event.SetSource(drive.m_Name);
    event.m_EventID = id;
    event.m_Severity = severity;
    event.m_Time = ZKT::Misc::now();
    event.SetPlaceHolder1(adapter.m_Name);
    event.SetPlaceHolder2(std::to_string(drive.m_DeviceNumber));
    return event;
}

PI::CEvent DriveChangeEvent(const CAHCIPhysicalDrive& drive, const CAHCIAdapter& adapter)
{
    PI::CEvent event = DriveEvent(drive, adapter, PI::EVENT_PNPADD_EX, SeverityChange);
    event.SetPlaceHolder3(drive.m_FirmwareVersion);
    event.SetPlaceHolder4(drive.m_SerialNumber);
    return event;
}

bool IsReportDue(std::uint64_t lastPassTime, std::uint64_t now, const ZKTX::CSystemDate_Win& time1,
                 const ZKTX::CSystemDate_Win& time2)
{
    if (lastPassTime == 0)
        return true;
    ZKTX::CSystemDate_Win previous;
    ZKTX::CSystemDate_Win current;
    ZKTX::CSystemTime_Win::GetDate(lastPassTime, previous);
    ZKTX::CSystemTime_Win::GetDate(now, current);
    const auto reached = [&](const ZKTX::CSystemDate_Win& time)
    { return SameMinute(current, time) && !SameMinute(previous, time); };
    return reached(time1) || reached(time2);
}

void ReportConditions(const std::vector<CAHCIPhysicalDrive>& drives,
                      const std::vector<CAHCIAdapter>& adapters, const ReportThresholds& thresholds,
                      std::vector<PI::CEvent>& events)
{
    for (const CAHCIPhysicalDrive& drive : drives)
    {
        const auto adapter =
            std::find_if(adapters.begin(), adapters.end(),
                         [&](const CAHCIAdapter& candidate)
                         { return candidate.m_AdapterNumber == drive.m_AdapterNumber; });
        if (adapter == adapters.end())
            continue;
        const auto report = [&](bool stands, PI::_EVENT_ID event)
        {
            if (stands)
                events.push_back(DriveEvent(drive, *adapter, event, SeverityTrouble));
        };
        report(drive.m_Status == PI::VAL_AVAILABLE_SMART, PI::EVENT_SMART_ERROR);
        report(drive.m_RatedEndurancePercent != NoReading32 &&
                   drive.m_RatedEndurancePercent > thresholds.wearLevel,
               PI::EVENT_PD_WEAR_LEVEL_COUNT_ABOVE_THRESHOLD);
        report(drive.m_RemainingReserve != NoReading32 &&
                   drive.m_RemainingReserve < thresholds.reservedCells,
               PI::EVENT_PD_RESERVED_CELLS_BELOW_THRESHOLD);
    }
}

} // namespace NAMESPACE_tarnis
