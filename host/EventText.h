// An event for people and for programs.
#pragma once

#include "contracts/zelPlug.h"
#include "host/JsonWriter.h"

#include <string>

namespace Host
{

/// "disk3": the drive that the event is about.
std::string LabelOf(const PI::CEvent& event);

/// One line without its end: when, how bad, what, which drive. Texts of a drive are made safe.
/// @param present  whether the drive was there once the event had happened: what tells one that
///                 came from one that went
std::string EventLine(const PI::CEvent& event, bool present);

/// Its members, without the object around them.
/// @param isReminder  whether it repeats what stood before; "reminder" is there when it is true
void WriteEventMembers(JsonWriter& json, const PI::CEvent& event, bool present, bool isReminder);

} // namespace Host
