#include "host/Output.h"

#include "contracts/zelKit/Environment.h"
#include "host/Text.h"

#include <cstdio>
#include <string>

namespace
{

/// By the environment: a plain refusal counts most, then a demand, then what the output is.
bool IsColourWanted(bool isTerminal)
{
    using ZKT::Misc::GetVariable;
    if (!GetVariable("NO_COLOR").empty())
        return false;
    if (const std::string forced = GetVariable("CLICOLOR_FORCE"); !forced.empty() && forced != "0")
        return true;
    return isTerminal && GetVariable("CLICOLOR") != "0" && GetVariable("TERM") != "dumb";
}

} // namespace

namespace Host
{

void Output::SetColour(ColourMode mode)
{
    const bool wanted =
        mode == ColourMode::Auto ? IsColourWanted(m_IsTerminal) : mode == ColourMode::Always;
    m_Coloured = wanted && TakeColour();
}

void PrintError(std::string_view line)
{
    const std::string text = Printable(line) + "\n";
    std::fwrite(text.data(), 1, text.size(), stderr);
}

void Complain(std::string_view line)
{
    PrintError("tarnisctl: " + std::string(line));
}

} // namespace Host
