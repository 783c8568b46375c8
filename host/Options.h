// The command line.
#pragma once

#include "host/AlarmOptions.h"
#include "host/Output.h"
#include "host/TableStyle.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

struct VerbRow;

struct Options
{
    const VerbRow* verb = nullptr; ///< null when there is an answer without it
    std::string answer;            ///< the text of help or of the version

    bool json = false;
    ColourMode colour = ColourMode::Auto;
    std::string plugin; ///< empty: the default one

    // Each is handed on by an environment variable; empty: the variable stays as it is.
    std::string machine;
    std::string configDir;
    std::string database;
    std::string traceMask;
    std::string traceFile;

    std::string object;                        ///< get, set
    std::vector<std::string> properties;       ///< get
    std::string property;                      ///< set
    std::string value;                         ///< set
    std::optional<std::uint32_t> watchSeconds; ///< watch; nothing: until a signal comes
    std::vector<std::string> objects;          ///< show, check
    std::vector<std::string> ignored;          ///< check, watch: serial numbers
    std::vector<std::string> only;             ///< watch; empty: all
    AlarmOptions alarms;                       ///< watch
    std::optional<std::uint32_t> expected;     ///< check: how many drives there should be
    bool isQuiet = false;                      ///< check
    bool isStrict = false;                     ///< check
    bool forget = false;                       ///< check
    TableStyle table;                          ///< show
    std::string query;                         ///< explain: a number or a name
    bool all = false;                          ///< show, explain
    std::string helpVerb;                      ///< help; empty: general help

    /// Whether the drive of this serial number is to be left out.
    bool IsIgnored(const std::string& serial) const;
};

/// @param arguments  as main has them, the program's name first
/// @throws UsageFailure
Options ParseOptions(const std::vector<std::string>& arguments);

/// The options of a check by which its answer is printed, however wrong the rest of the command
/// line is; nothing when the verb is another one.
std::optional<Options> FormOfCheck(const std::vector<std::string>& arguments);

/// Sets the environment variables that the plug-in and its libraries read when they are loaded.
/// @throws Failure
void ApplyEnvironment(const Options& options);

} // namespace Host
