#include "host/Failure.h"
#include "host/linux/Channel.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

// Without this a database file could be opened as descriptor 1 or 2 and take what is printed.
void FillStandardDescriptors()
{
    int opened = 0;
    while (opened >= 0 && opened <= STDERR_FILENO)
        opened = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (opened > STDERR_FILENO)
        ::close(opened);
}

std::size_t TerminalColumns(int descriptor)
{
    winsize size{};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return std::max<std::size_t>(size.ws_col, Host::leastColumns);
    return 80;
}

[[noreturn]] void FailWriting(int error)
{
    throw Host::Failure(Host::EXIT_PLUGIN, std::string("standard output: ") + std::strerror(error));
}

} // namespace

namespace Host
{

Output::Channel::~Channel()
{
    if (descriptor >= 0)
        ::close(descriptor);
}

Output::Output()
{
    const int descriptor = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (descriptor >= 0)
        m_Channel = std::make_unique<Channel>(descriptor);
    // A reader that has left, and a file that may grow no more, show as results of a write.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    FillStandardDescriptors();
    if (::dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        FailWriting(errno);
    // Lines of the plug-in appear when they are printed, not at the end of the process.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (descriptor >= 0 && ::isatty(descriptor) == 1)
    {
        m_IsTerminal = true;
        m_Columns = TerminalColumns(descriptor);
    }
}

Output::~Output() = default;

bool Output::TakeColour()
{
    return true;
}

void Output::Write(std::string_view text)
{
    if (!m_Channel)
        FailWriting(EBADF);
    while (!text.empty())
    {
        const ssize_t written = ::write(m_Channel->descriptor, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno == EAGAIN) // a caller's pipe may be non-blocking
        {
            pollfd wait{m_Channel->descriptor, POLLOUT, 0};
            ::poll(&wait, 1, -1);
        }
        else if (errno == EPIPE)
            return;
        else if (errno != EINTR)
            FailWriting(errno);
    }
}

void Output::Close()
{
    if (!m_Channel)
        return;
    const int descriptor = std::exchange(m_Channel->descriptor, -1);
    m_Channel.reset();
    if (::close(descriptor) != 0 && errno != EINTR)
        FailWriting(errno);
}

} // namespace Host
