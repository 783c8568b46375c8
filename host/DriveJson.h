// A drive for programs: what its object does not tell.
#pragma once

#include "host/Health.h"
#include "host/JsonWriter.h"

namespace Host
{

/// The member "drive": how the drive stands, its readings as numbers, and where they come from.
void WriteDrive(JsonWriter& json, const Drive& drive, const Limits& limits);

/// The member "attributes": those of its SMART page.
void WriteAttributes(JsonWriter& json, const Drive& drive);

} // namespace Host
