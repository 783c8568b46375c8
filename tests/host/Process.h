// Runs the built tarnisctl as a person would, away from the settings and database of this computer.
#pragma once

#include "tests/support/TestFolder.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <sys/resource.h>

struct Outcome
{
    int exitCode; ///< -1 when a signal ended it
    std::string out;
    std::string err;
};

enum class Stdout
{
    Pipe,
    Terminal,
    Full,    ///< /dev/full
    Closed,  ///< a pipe whose reader has gone
    Leaving, ///< a pipe that takes a page, and whose reader goes after its first bytes
    Limited, ///< a file that may not grow
};

using Arguments = std::vector<std::string>;
using Environment = std::vector<std::pair<std::string, std::string>>;

/// The folder in which each tarnisctl runs.
inline const TestFolder testFolder;

/// Runs it in a locale of UTF-8, if the environment names no other.
/// @param columns  of a terminal
Outcome RunTarnisctl(const Arguments& arguments, const Environment& environment = {},
                     Stdout kind = Stdout::Pipe, rlim_t memory = RLIM_INFINITY,
                     unsigned short columns = 80);

/// Starts it with these files as its outputs. @return its process
pid_t StartTarnisctl(const Arguments& arguments, const Environment& environment, int out, int err,
                     rlim_t fileSize = RLIM_INFINITY, rlim_t memory = RLIM_INFINITY);

/// @return the exit code, -1 when a signal ended it
int WaitFor(pid_t process);

/// Fails unless it ended so, with nothing but one line on standard error that holds this text.
void ExpectComplaint(const Outcome& outcome, int exitCode, const std::string& said);

bool Holds(const std::string& text, const std::string& piece);
std::size_t CountLines(const std::string& text);
