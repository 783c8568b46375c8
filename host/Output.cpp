#include "host/Output.h"

#include "contracts/zelKit/Environment.h"
#include "host/Text.h"

#include <cstdio>
#include <string>

namespace Host
{

bool RefusesColour()
{
    return !ZKT::Misc::GetVariable("NO_COLOR").empty() || ZKT::Misc::GetVariable("TERM") == "dumb";
}

void Complain(std::string_view line)
{
    const std::string text = "tarnisctl: " + Printable(line) + "\n";
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace Host
