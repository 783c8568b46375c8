#include "host/Help.h"

#include "host/System.h"
#include "host/Text.h"

#include <CLI/CLI.hpp>

#include <cstddef>

namespace
{

constexpr std::size_t columns = 80;

constexpr const char* beforeVerbs =
    R"(tarnisctl - shows what the tarnis plug-in knows of this machine's SATA drives

Usage: tarnisctl [OPTIONS] [VERB]

Verbs (tarnisctl help VERB has more on one):
)";

constexpr const char* behindVerbs = R"(
Options, before or after the verb:
  --json                     print JSON
  --color auto|always|never  colours; auto: on a terminal, unless NO_COLOR,
                             CLICOLOR_FORCE or CLICOLOR ask for something else
  --machine FILE             see the machine of this file   (TARNIS_MACHINE)
  --config-dir DIR           folder of the settings files   (TARNIS_CONFIG_DIR)
  --database FILE            SQLite file of the rows        (TARNIS_DATABASE)
  --trace-mask N             trace bits, decimal or 0x      (TARNIS_TRACE_MASK)
  --trace-file FILE          where trace lines go           (TARNIS_TRACE_FILE)
  --plugin FILE              the plug-in library; default: tarnis.so beside
                             this program
  -h, --help                 this text, or the help of the verb
  -V, --version

OBJECT is plugin, adapter, disk0, sda, a serial number or an id. PROPERTY is a
name, a number, or a label as show prints it. Sizes of show are decimal, those
of get and JSON step by 1024.

Examples:
  tarnisctl --machine lab.json
  tarnisctl get disk0 temperature "Power-on hours"
  tarnisctl watch --for 2h --json

Exit codes: 0 done; 1 wrong usage, a disk that is not there, or a wrong machine
file; 2 no supported hardware; 3 the plug-in could not be loaded or gave an
error, or the output could not be written; 4 a right is missing to read a disk,
what can be read is shown.
)";

/// "  NAME      what it is", with its further lines under the first.
std::string Entry(const std::string& name, const std::string& text)
{
    constexpr std::size_t nameColumns = 27;
    const std::string indent(2 + nameColumns, ' ');
    return Host::Wrapped("  " + Host::PadRight(name, nameColumns) + text, columns, indent) + "\n";
}

std::string NameOf(const CLI::Option& option)
{
    if (option.get_positional())
        return option.get_name(true) + (option.get_items_expected_max() > 1 ? "..." : "");
    const bool takesValue = option.get_items_expected_max() > 0;
    return option.get_name() + (takesValue ? " " + option.get_type_name() : "");
}

} // namespace

namespace Host
{

std::string GeneralHelp()
{
    std::string text = beforeVerbs;
    for (const VerbRow& row : VerbRows())
        text += Entry(std::string(row.name) + " " + row.arguments, row.summary);
    return text + behindVerbs + systemHelpText;
}

std::string VerbHelp(const VerbRow& row, const CLI::App& app)
{
    std::string entries;
    for (const CLI::Option* option : app.get_options())
        entries += Entry(NameOf(*option), option->get_description());
    return "Usage: tarnisctl " + std::string(row.name) + (*row.arguments == '\0' ? "" : " ") +
           row.arguments + " [OPTIONS]\n" + row.purpose +
           (entries.empty() ? "" : "\nArguments and options:\n" + entries) +
           "\nOptions of every verb, such as --json and --color: tarnisctl --help\n"
           "\nExamples:" +
           row.examples + "\nExit codes:" + row.exitCodes;
}

} // namespace Host
