// Runs the built tarnisctl as a person would, away from the settings and database of this computer.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

struct Outcome
{
    int exitCode; ///< -1 when a signal ended it
    std::string out;
    std::string err;
};

enum class Stdout
{
    Pipe,
    Terminal, ///< of 80 columns
    Full,     ///< /dev/full
    Closed,   ///< a pipe whose reader has gone
    Limited,  ///< a file that may not grow
};

using Environment = std::vector<std::pair<std::string, std::string>>;

/// @param memory  bytes of memory that it may have; 0: no limit
Outcome RunTarnisctl(const std::vector<std::string>& arguments, const Environment& environment = {},
                     Stdout kind = Stdout::Pipe, std::size_t memory = 0);

/// A folder of this test process alone, removed at its end.
const std::string& TestFolder();
/// @return the file's path in the test folder
std::string WriteFile(const std::string& name, const std::string& content);
std::string ReadFile(const std::string& path);

std::size_t CountLines(const std::string& text);
