#include "libraries/zelKit/Output.h"

#include "contracts/zelKit/Text.h"
#include "contracts/zelKit/Thread.h"
#include "libraries/zelKit/System.h"

#include <exception>
#include <string>

namespace ZKT
{

int Internals::WriteText(int file, std::string_view text)
{
    const ZKT::Threading::CCancellationShield shield;
    while (!text.empty())
    {
        std::size_t written = 0;
        if (const int error = WriteSome(file, text, written); error != 0)
            return error;
        text.remove_prefix(written);
    }
    return 0;
}

void Internals::Complain(std::string_view trouble)
{
    try
    {
        WriteText(StandardError, "zelKit: " + Misc::Printable(trouble) + "\n");
    }
    catch (const std::exception&)
    {
        WriteText(StandardError, "zelKit: out of memory\n");
    }
}

} // namespace ZKT
