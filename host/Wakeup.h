// What ends the sleep of a program that watches.
#pragma once

#include <cstdint>
#include <optional>

namespace Host
{

/// Takes SIGINT, SIGTERM and SIGHUP over while it lives, but for those that the program was told to
/// ignore when it was started. Sleeps without any wake-up of its own.
class Wakeup
{
  public:
    enum class Reason
    {
        Inbox,      ///< there is something to print
        Output,     ///< there is room to print it
        OutputGone, ///< nobody reads any more
        End         ///< a signal came, or the time is over
    };

    /// @param inbox    descriptor that is readable while something is there to print
    /// @param output   descriptor that it is printed to
    /// @param seconds  how long to watch, from now; nothing: until a signal comes
    Wakeup(int inbox, int output, std::optional<std::uint32_t> seconds);
    ~Wakeup(); ///< a second signal then ends the program at once
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    /// Sleeps until something is there to print. That comes before an end.
    Reason WaitForInbox() const;
    /// Sleeps until there is room for at least PIPE_BUF bytes. An end comes before that.
    Reason WaitForOutput() const;

  private:
    int m_Inbox;
    int m_Output;
    int m_Signals;
    int m_Timer;
};

} // namespace Host
