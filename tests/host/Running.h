// A tarnisctl that watches a machine which the test changes.
#pragma once

#include "tests/host/Process.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// Puts a machine of these disks in the place of the last one in one step. @return its file
std::string PutMachine(const std::vector<nlohmann::json>& disks);

/// Environment of a program whose clock the test sets ahead.
Environment ShiftedClock();
void SetClockAhead(long seconds);

/// Its two outputs are read as one.
class Running
{
  public:
    explicit Running(const Arguments& arguments, const Environment& environment = {});
    ~Running(); ///< kills what still runs
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    /// The next line that holds the text; what it skips must tell of no drive. Gives up after half
    /// a minute without output.
    std::string LineWith(const std::string& text);

    /// Sends the signal. @return the exit code
    int End(int signal);

  private:
    bool ReadMore();

    pid_t m_Child = -1;
    int m_Output = -1;
    std::string m_Text; ///< that was read and not given out
};
