#include "libraries/zelKit/Output.h"

#include "contracts/zelKit/Text.h"
#include "libraries/zelKit/System.h"

#include <exception>
#include <string>

namespace ZKT
{

int Internals::WriteText(int file, std::string_view text)
{
    while (!text.empty())
    {
        std::size_t written = 0;
        if (const int error = WriteSome(file, text, written); error != 0)
            return error;
        text.remove_prefix(written);
    }
    return 0;
}

void Internals::Complain(std::string_view trouble, std::string_view detail)
{
    try
    {
        std::string line("zelKit: ");
        line.append(Misc::Printable(std::string(trouble).append(detail))).append("\n");
        WriteText(StandardError, line);
    }
    catch (const std::exception&)
    {
        WriteText(StandardError, "zelKit: out of memory\n");
    }
}

} // namespace ZKT
