// How a verb gives up: one line for standard error and the exit code that goes with it.
#pragma once

#include <stdexcept>
#include <string>

namespace Host
{

enum ExitCode : int
{
    EXIT_DONE = 0,
    EXIT_USAGE = 1,       ///< wrong arguments, a disk that is not there, or a wrong machine file
    EXIT_NO_HARDWARE = 2, ///< the plug-in found no supported controller
    EXIT_PLUGIN = 3,      ///< the plug-in or standard output failed
    EXIT_RIGHTS = 4,      ///< for want of a right, not every disk could be read

    // Those of check, as the guidelines for monitoring plug-ins have them.
    CHECK_OK = 0,
    CHECK_WARNING = 1,
    CHECK_CRITICAL = 2,
    CHECK_UNKNOWN = 3,
};

class Failure : public std::runtime_error
{
  public:
    /// @param line  may hold any bytes; it is made safe where it is printed
    Failure(ExitCode code, const std::string& line) : std::runtime_error(line), m_Code(code) {}
    ExitCode Code() const { return m_Code; }

  private:
    ExitCode m_Code;
};

/// A failure of the command line itself, with the hint where to read on.
class UsageFailure : public Failure
{
  public:
    explicit UsageFailure(const std::string& line)
        : Failure(EXIT_USAGE, line + " (see tarnisctl --help)")
    {
    }
};

} // namespace Host
