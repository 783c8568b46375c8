// The verbs. Each writes its answer to the output and gives up with a Failure; one
// that did what it was asked may still end with another code than EXIT_DONE.
#pragma once

#include "host/Failure.h"
#include "host/Options.h"
#include "host/Output.h"

#include <string>

namespace Host
{

ExitCode Show(const Options& options, Output& output);
ExitCode Get(const Options& options, Output& output);
ExitCode Set(const Options& options, Output& output);
ExitCode Check(const Options& options, Output& output);
/// The answer of a check that cannot be done: monitoring systems read standard output.
ExitCode FailCheck(const Options& options, const std::string& reason, Output& output);
ExitCode Watch(const Options& options, Output& output);
ExitCode Explain(const Options& options, Output& output);

} // namespace Host
