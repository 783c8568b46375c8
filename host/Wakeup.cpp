#include "host/Wakeup.h"

#include "host/Failure.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace
{

int Checked(int descriptor)
{
    if (descriptor < 0)
        throw Host::Failure(Host::EXIT_PLUGIN,
                            std::string("cannot wait for events: ") + std::strerror(errno));
    return descriptor;
}

int SignalDescriptor()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return Checked(::signalfd(-1, &signals, SFD_CLOEXEC));
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

} // namespace

namespace Host
{

Wakeup::Wakeup(std::optional<std::uint32_t> seconds)
    : m_Doorbell(Checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))), m_Signals(SignalDescriptor()),
      m_Timer(TimerDescriptor(seconds))
{
}

Wakeup::~Wakeup()
{
    for (const int descriptor : {m_Doorbell, m_Signals, m_Timer})
        ::close(descriptor);
}

void Wakeup::Ring()
{
    ::eventfd_write(m_Doorbell, 1);
}

Wakeup::Reason Wakeup::Wait()
{
    pollfd sources[] = {{m_Doorbell, POLLIN, 0}, {m_Signals, POLLIN, 0}, {m_Timer, POLLIN, 0}};
    while (::poll(sources, std::size(sources), -1) < 0)
        if (errno != EINTR)
            Checked(-1);
    if (sources[0].revents == 0)
        return Reason::End;
    eventfd_t rings = 0;
    ::eventfd_read(m_Doorbell, &rings);
    return Reason::Doorbell;
}

} // namespace Host
