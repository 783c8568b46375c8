// What ends the sleep of a program that watches: the doorbell, a signal, the end of its time.
#pragma once

#include <cstdint>
#include <optional>

namespace Host
{

/// Takes SIGINT, SIGTERM and SIGHUP over for the thread that makes it and all threads that it
/// starts. Sleeps without any wake-up of its own.
class Wakeup
{
  public:
    enum class Reason
    {
        Doorbell,
        End ///< a signal came, or the time is over
    };

    /// @param seconds  how long to watch; nothing: until a signal comes
    explicit Wakeup(std::optional<std::uint32_t> seconds);
    ~Wakeup();
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    /// Any thread, any number of times; rings that nobody has answered yet count as one.
    void Ring();

    /// A ring comes before an end, so that what was rung for is still answered.
    Reason Wait();

  private:
    int m_Doorbell;
    int m_Signals;
    int m_Timer;
};

} // namespace Host
