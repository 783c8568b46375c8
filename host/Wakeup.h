// What ends the sleep of a program that watches.
#pragma once

#include "host/Output.h"
#include "host/System.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace Host
{

/// Takes over, while it lives, what ends a program from outside: SIGINT, SIGTERM and SIGHUP, but
/// for those that the program was told to ignore when it was started; on Windows, where a watch is
/// ended by its console, the keys and the closing of that. Sleeps without any wake-up of its own.
class Wakeup
{
  public:
    enum class Reason
    {
        Inbox,      ///< there is something to print
        Output,     ///< there is room to print it
        OutputGone, ///< nobody reads any more; on Windows only writing shows it
        End         ///< a signal came, or the time is over
    };

    /// @param inbox    rings while something is there to print
    /// @param output   what it is printed to
    /// @param seconds  how long to watch, from now; nothing: until a signal comes
    Wakeup(const Doorbell& inbox, Output& output, std::optional<std::uint32_t> seconds);
    ~Wakeup(); ///< a second signal then ends the program at once
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    /// Sleeps until something is there to print. That comes before an end.
    Reason WaitForInbox() const;
    /// Sleeps until there is room for a piece. An end comes before that.
    Reason WaitForOutput() const;

    /// What there is room for then, in bytes.
    static constexpr std::size_t pieceBytes = 4096;

  private:
    struct State;
    std::unique_ptr<State> m_State;
};

} // namespace Host
