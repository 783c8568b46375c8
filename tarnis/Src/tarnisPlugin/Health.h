// What a SMART page makes of a drive, and what the drive's figures make of its status. Pure.
#pragma once

#include "contracts/zelPlug.h"
#include "tarnis/Src/tarnisAdapter/Adapter.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrive.h"

#include <cstdint>

namespace NAMESPACE_tarnis
{

/// Degrees Celsius by attributes 190 and 194, 0 without a reading. Of several valid entries the
/// last in page order stands.
std::uint8_t TemperatureOf(const PI::_IDE_SMART_DATA& page);

/// Fills the drive's health fields from its page, as far as its model is known.
/// @param values  those of its model, without a reading
void EvaluateSmartPage(const PI::_IDE_SMART_DATA& page, PI::CSmartValues values,
                       CAHCIPhysicalDrive& drive);

/// Raises the drive's status to AVAILABLE_SMART when a limit is reached, and with it the adapter's
/// to WARNING.
void ApplyHealthLimits(CAHCIPhysicalDrive& drive, CAHCIAdapter& adapter);

} // namespace NAMESPACE_tarnis
