// Events about drives: how one is built, and which standing conditions raise one.
#pragma once

#include "contracts/zelKitEx.h"
#include "contracts/zelPlug.h"
#include "tarnis/Src/tarnisAdapter/Adapter.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrive.h"

#include <cstdint>
#include <vector>

namespace NAMESPACE_tarnis
{

/// Severities as the host receives them.
inline constexpr std::int32_t SeverityChange = 2;
inline constexpr std::int32_t SeverityTrouble = 3;

/// An event about a drive, at this moment. Placeholders: the adapter's name, the disk number; the
/// other two stay empty.
PI::CEvent DriveEvent(const CAHCIPhysicalDrive& drive, const CAHCIAdapter& adapter,
                      PI::_EVENT_ID event, std::int32_t severity);

/// An event about a drive that came or went: DriveEvent with firmware and serial number as the
/// third and fourth placeholder.
PI::CEvent DriveChangeEvent(const CAHCIPhysicalDrive& drive, const CAHCIAdapter& adapter);

/// Whether a pass reports standing conditions: the first pass does, and so does the first pass in
/// the minute of a report time. Seconds and dates take no part.
/// @param lastPassTime  time of the previous pass, 0 for none
bool IsReportDue(std::uint64_t lastPassTime, std::uint64_t now, const ZKTX::CSystemDate_Win& time1,
                 const ZKTX::CSystemDate_Win& time2);

/// Limits of the settings, in percent. A value equal to its limit raises nothing.
struct ReportThresholds
{
    std::uint32_t wearLevel;
    std::uint32_t reservedCells;
};

/// Appends an event for each condition that stands at a drive. A drive without an adapter raises
/// none.
void ReportConditions(const std::vector<CAHCIPhysicalDrive>& drives,
                      const std::vector<CAHCIAdapter>& adapters, const ReportThresholds& thresholds,
                      std::vector<PI::CEvent>& events);

} // namespace NAMESPACE_tarnis
