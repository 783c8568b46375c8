// A property for programs.
#pragma once

#include "contracts/zelPlug.h"
#include "host/Drive.h"
#include "host/JsonWriter.h"

namespace Host
{

/// The members of a property, without the object around them.
/// @param drive  whose property it is, for its exact bytes; null: of no drive
void WritePropertyMembers(JsonWriter& json, const PI::CProperty& property, const Drive* drive);

/// A property as a document of its own.
void WriteProperty(JsonWriter& json, const PI::CProperty& property, const Drive* drive);

} // namespace Host
