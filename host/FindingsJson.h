// The answer of a check for programs.
#pragma once

#include "host/Findings.h"
#include "host/JsonWriter.h"
#include "host/Verdict.h"

namespace Host
{

/// A document.
/// @param verdict  null when the drives could not be looked at
void WriteFindings(JsonWriter& json, const Findings& findings, const Verdict* verdict);

} // namespace Host
