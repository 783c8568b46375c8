// Which object is in trouble, and what its readings say about it.
#pragma once

#include "host/Topology.h"

#include <string>

namespace Host
{

enum class Health
{
    Good,
    Warning,
    Failed,
};

/// By the object's status; an object without one is good. A status that is not known to be good is
/// a warning: better a look too many.
Health HealthOf(const PI::CObject& object);

/// Whether the drive gives any of temperature, hours and wear.
bool HasSmartReadings(const PI::CObject& drive);
/// Whether the drive gives any of endurance, reserve and lifetime.
bool HasWearReadings(const PI::CObject& drive);
bool IsSsd(const PI::CObject& drive);

/// The readings that a drive's status rests on, in words; says so when there are none.
std::string ReasonOf(const PI::CObject& drive);

} // namespace Host
