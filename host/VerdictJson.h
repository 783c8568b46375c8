// The verdict for programs.
#pragma once

#include "host/JsonWriter.h"
#include "host/Verdict.h"

namespace Host
{

/// The member "verdict": counts, and lists of the drives that there is something to say of.
void WriteVerdict(JsonWriter& json, const Verdict& verdict);

} // namespace Host
