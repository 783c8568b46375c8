// The command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

enum class Verb
{
    Show,
    Get,
    Set,
    Watch,
    Explain,
    Help,
    Version,
};

struct Options
{
    Verb verb = Verb::Show;
    bool json = false;
    std::string plugin; ///< empty: the default one

    // Each is handed on by an environment variable; empty: the variable stays as it is.
    std::string machine;
    std::string configDir;
    std::string database;
    std::string traceMask;
    std::string traceFile;

    std::string object;                        ///< get, set
    std::string property;                      ///< get, set
    std::string value;                         ///< set
    std::optional<std::uint32_t> watchSeconds; ///< watch; nothing: until a signal comes
    std::string query;                         ///< explain: a number or a name
    bool all = false;                          ///< explain
};

extern const char* const helpText;
extern const char* const versionText;

/// @param arguments  as main has them, the program's name first
/// @throws UsageFailure
Options ParseOptions(const std::vector<std::string>& arguments);

/// Sets the environment variables that the plug-in and its libraries read when they are loaded.
void ApplyEnvironment(const Options& options);

} // namespace Host
