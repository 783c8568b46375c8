#include "libraries/zelKit/Output.h"

#include "contracts/zelKit/Thread.h"

#include <cerrno>
#include <exception>
#include <string>
#include <unistd.h>

namespace ZKT
{

int Internals::WriteText(int file, std::string_view text)
{
    const ZKT::Threading::CCancellationShield shield;
    while (!text.empty())
    {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return written < 0 ? errno : EIO;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

void Internals::Complain(std::string_view trouble)
{
    try
    {
        WriteText(STDERR_FILENO, "zelKit: " + std::string(trouble) + "\n");
    }
    catch (const std::exception&)
    {
        WriteText(STDERR_FILENO, "zelKit: out of memory\n");
    }
}

} // namespace ZKT
