// A command of the user's on its way; linux/ and windows/ hold the ways.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Host
{

/// Names and values, besides those that this program has.
using Variables = std::vector<std::pair<std::string, std::string>>;

/// How a process ended.
struct ProcessEnd
{
    bool isSuccess;
    std::string words; ///< "exit code 3"
};

/// Runs beside this program: reads nothing, prints on standard error, and no signal of a terminal
/// reaches it.
class Process
{
  public:
    /// Looks at a command without running it. @throws UsageFailure when it cannot be run
    static void Check(const std::string& command);

    /// Starts it without a shell.
    /// @param command  on Linux, words as a shell splits them; on Windows, a command line
    /// @param onEnd    called on a thread of its own when it has ended
    /// @throws Failure
    Process(const std::string& command, const Variables& variables, std::function<void()> onEnd);
    ~Process(); ///< waits for its end
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Nothing while it runs.
    std::optional<ProcessEnd> End() const;

    /// Ends it, and what it has started.
    void Kill();

  private:
    struct State;
    std::unique_ptr<State> m_State;
};

} // namespace Host
