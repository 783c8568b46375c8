#include "host/Wakeup.h"

#include "host/Failure.h"
#include "host/linux/Channel.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <string>

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace
{

int Checked(int result)
{
    if (result < 0)
        throw Host::Failure(Host::EXIT_PLUGIN,
                            std::string("cannot wait for events: ") + std::strerror(errno));
    return result;
}

/// The signals that end a watch: those of the three that nobody had ignored, as nohup does.
sigset_t EndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        struct sigaction action = {};
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            sigaddset(&signals, signal);
    }
    return signals;
}

int SignalDescriptor()
{
    const sigset_t signals = EndSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return Checked(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

int TimerDescriptor(std::optional<std::uint32_t> seconds)
{
    const int timer = Checked(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));
    if (seconds)
    {
        itimerspec span = {};
        span.it_value.tv_sec = *seconds;
        ::timerfd_settime(timer, 0, &span, nullptr);
    }
    return timer;
}

void Sleep(std::array<pollfd, 4>& sources)
{
    while (::poll(sources.data(), sources.size(), -1) < 0)
        if (errno != EINTR)
            Checked(-1);
}

static_assert(PIPE_BUF >= Host::Wakeup::pieceBytes, "so much of a pipe's room never blocks");

constexpr short gone = POLLERR | POLLHUP | POLLNVAL;

} // namespace

namespace Host
{

struct Wakeup::State
{
    int inbox;
    int output;
    int signals;
    int timer;
};

Wakeup::Wakeup(const Doorbell& inbox, Output& output, std::optional<std::uint32_t> seconds)
    : m_State(new State{static_cast<int>(inbox.Waitable()), output.GetChannel().descriptor,
                        SignalDescriptor(), TimerDescriptor(seconds)})
{
}

Wakeup::~Wakeup()
{
    // What was read here is answered; a further signal has its usual effect.
    signalfd_siginfo info;
    while (::read(m_State->signals, &info, sizeof info) > 0)
    {
    }
    ::close(m_State->signals);
    ::close(m_State->timer);
    const sigset_t signals = EndSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

Wakeup::Reason Wakeup::WaitForInbox() const
{
    std::array<pollfd, 4> sources{{{m_State->inbox, POLLIN, 0},
                                   {m_State->signals, POLLIN, 0},
                                   {m_State->timer, POLLIN, 0},
                                   {m_State->output, 0, 0}}};
    Sleep(sources);
    if (sources[0].revents != 0)
        return Reason::Inbox;
    return sources[1].revents != 0 || sources[2].revents != 0 ? Reason::End : Reason::OutputGone;
}

Wakeup::Reason Wakeup::WaitForOutput() const
{
    std::array<pollfd, 4> sources{{{-1, 0, 0},
                                   {m_State->signals, POLLIN, 0},
                                   {m_State->timer, POLLIN, 0},
                                   {m_State->output, POLLOUT, 0}}};
    Sleep(sources);
    if (sources[1].revents != 0 || sources[2].revents != 0)
        return Reason::End;
    return (sources[3].revents & gone) != 0 ? Reason::OutputGone : Reason::Output;
}

} // namespace Host
