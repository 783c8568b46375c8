#include "host/PrintedText.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace Host
{

PrintedText::PrintedText()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY)
        return; // a file in memory is limited like any other
    m_File = ::memfd_create("printed", MFD_CLOEXEC);
    if (m_File < 0)
        return;
    std::fflush(stdout);
    m_Output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (m_Output >= 0)
        ::dup2(m_File, STDOUT_FILENO);
}

PrintedText::~PrintedText()
{
    End();
    if (m_File >= 0)
        ::close(m_File);
}

void PrintedText::End()
{
    if (m_Output < 0)
        return;
    std::fflush(stdout);
    ::dup2(m_Output, STDOUT_FILENO);
    ::close(m_Output);
    m_Output = -1;
}

std::string PrintedText::Take()
{
    End();
    std::string text;
    char block[4096];
    off_t position = 0;
    for (;;)
    {
        const ssize_t size = m_File < 0 ? 0 : ::pread(m_File, block, sizeof block, position);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return text;
        text.append(block, static_cast<std::size_t>(size));
        position += size;
    }
}

} // namespace Host
