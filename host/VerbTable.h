// What the command line knows of each verb. A new verb is a row in VerbTable.cpp and the function
// behind it in Verbs.h.
#pragma once

#include "host/Failure.h"
#include "host/Options.h"
#include "host/Output.h"

#include <span>

namespace CLI
{
class App;
}

namespace Host
{

struct VerbRow
{
    const char* name;
    const char* arguments; ///< as the list of verbs shows them
    const char* summary;   ///< one line of the list

    // Sections of the verb's own help. Each begins and ends with a line feed.
    const char* purpose;
    const char* examples;
    const char* exitCodes;

    /// Adds the arguments and options that this verb alone takes, each with its line of help.
    /// What they hold is put into the options, which outlive the parsing.
    void (*addArguments)(CLI::App& verb, Options& options);

    /// Null when parsing alone finds the answer.
    ExitCode (*run)(const Options& options, Output& output);

    /// Whether it remembers drives from one run to the next, or keeps their rows up to date. Others
    /// leave no database of a machine file behind.
    bool keepsDrives = false;
};

/// The first one is the default.
std::span<const VerbRow> VerbRows();

} // namespace Host
