// The verbs. Each writes its answer to the output and gives up with a Failure.
#pragma once

#include "host/Options.h"
#include "host/Output.h"

namespace Host
{

void Show(const Options& options, Output& output);
void Get(const Options& options, Output& output);
void Set(const Options& options, Output& output);
void Watch(const Options& options, Output& output);
void Explain(const Options& options, Output& output);

} // namespace Host
