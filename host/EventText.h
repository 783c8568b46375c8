// An event for people and for programs.
#pragma once

#include "contracts/zelPlug.h"

#include <string>

namespace Host
{

/// One line without its end: when, how bad, what, which drive. Texts of a drive are made safe.
/// @param present  whether the drive was there once the event had happened: what tells one that
///                 came from one that went
std::string EventLine(const PI::CEvent& event, bool present);

/// One JSON object on one line, in ASCII, without the line's end.
std::string EventJson(const PI::CEvent& event, bool present);

} // namespace Host
