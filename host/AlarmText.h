// An alarm as the user's command gets it.
#pragma once

#include "host/AlarmBook.h"
#include "host/Process.h"

#include <string>

namespace Host
{

/// "started", "reminder", "ended"
const char* KindName(AlarmKind kind);

/// TARNIS_ALARM and TARNIS_ALARM_... Their values are safe for a shell: of what a drive calls
/// itself, letters, digits and a few signs are left.
Variables VariablesOf(const Alarm& alarm);

} // namespace Host
