#include "host/VerbTable.h"

#include "host/Duration.h"
#include "host/Verbs.h"

#include <CLI/CLI.hpp>

#include <string>

namespace
{

using Host::Options;

constexpr const char* objectHelp = "plugin, adapter, disk0, disk1 ... or an id of show --json";
constexpr const char* propertyHelp = "a name, a number, or its label in the output of show";

void AddNothing(CLI::App&, Options&) {}

void AddGet(CLI::App& verb, Options& options)
{
    verb.add_option("OBJECT", options.object, objectHelp)->required();
    verb.add_option("PROPERTY", options.properties, propertyHelp)->required();
}

void AddSet(CLI::App& verb, Options& options)
{
    verb.add_option("OBJECT", options.object, objectHelp)->required();
    verb.add_option("PROPERTY", options.property, propertyHelp)->required();
    verb.add_option("VALUE", options.value, "the new value")->required();
}

void AddWatch(CLI::App& verb, Options& options)
{
    verb.add_option_function<std::string>(
            "--for",
            [&options](const std::string& text)
            { options.watchSeconds = Host::ParseSeconds("--for", text); },
            "ends after 90 (seconds), 5s, 10m, 2h or 1d; default: not before a signal")
        ->type_name("TIME");
}

void AddExplain(CLI::App& verb, Options& options)
{
    verb.add_option("NUMBER|NAME", options.query,
                    "what to explain, with or without ERR_, VAL_ ...");
    verb.add_flag("--all", options.all, "the whole vocabulary, a line each");
    verb.callback(
        [&options]
        {
            if (options.query.empty() != options.all)
                throw Host::UsageFailure("explain takes a number, a name or --all, one of them");
        });
}

void AddHelp(CLI::App& verb, Options& options)
{
    verb.add_option("VERB", options.helpVerb, "the verb to read about");
}

#define EXIT_CODES_OF_A_FAILED_START                                                               \
    "  2  no supported hardware was found\n"                                                       \
    "  3  the plug-in gave an error, which is named, or the output could not be written\n"

constexpr Host::VerbRow rows[] = {
    {"show", "", "state of all drives, then every property (the default)",
     "Prints which drives are in trouble, a table of all drives, and every property of every "
     "object.",
     "  tarnisctl show\n"
     "  tarnisctl show --json | jq '.objects[].id'\n",
     "  0  done\n"
     "  1  wrong usage, or a wrong machine file\n" EXIT_CODES_OF_A_FAILED_START
     "  4  a right is missing to read a disk; what can be read is shown\n",
     AddNothing, Host::Show},
    {"get", "OBJECT PROPERTY...", "one value, or several as lines of NAME: value",
     "Prints values of an object. One value stands alone; several are lines of NAME: value, in\n"
     "the order in which they are asked for. A value that the object does not give is told on\n"
     "standard error, and the others are printed.",
     "  tarnisctl get disk0 temperature\n"
     "  tarnisctl get disk0 \"Power-on hours\" STATUS --json\n",
     "  0  done\n"
     "  1  wrong usage, a disk that is not there, or a wrong machine "
     "file\n" EXIT_CODES_OF_A_FAILED_START "  4  a right is missing to read a disk\n",
     AddGet, Host::Get},
    {"set", "OBJECT PROPERTY VALUE", "changes a value and keeps it",
     "Changes a value, keeps it in the settings file and prints what is in force then. A watch\n"
     "that runs takes it up at its next start.",
     "  tarnisctl set plugin POLL_INTERVAL 60\n"
     "  tarnisctl set plugin \"poll interval\" 60 --json\n",
     "  0  done\n"
     "  1  wrong usage, a value out of range, or a wrong machine file\n"
     "  2  no supported hardware was found\n"
     "  3  the property cannot be set or saved, the plug-in gave an error, or the output could\n"
     "     not be written\n",
     AddSet, Host::Set},
    {"watch", "[--for TIME]", "prints events as they come, until Ctrl-C or SIGTERM",
     "Looks at the drives every poll interval, and prints drives that come, go or get into\n"
     "trouble, a line each.",
     "  tarnisctl watch\n"
     "  tarnisctl watch --for 2h --json\n",
     "  0  it was ended by a signal, by its time, or by the end of its reader\n"
     "  1  wrong usage, or a wrong machine file\n" EXIT_CODES_OF_A_FAILED_START
     "  4  a right is missing to read a disk; what can be read was watched\n",
     AddWatch, Host::Watch},
    {"explain", "NUMBER|NAME|--all", "what a number or name of the vocabulary means",
     "Tells the name of a number, or the number of a name, and what it means. No plug-in is\n"
     "needed.",
     "  tarnisctl explain 20001\n"
     "  tarnisctl explain AVAILABLE_SMART --json\n",
     "  0  done\n"
     "  1  wrong usage, or the vocabulary has no such number or name\n"
     "  3  the output could not be written\n",
     AddExplain, Host::Explain},
    {"help", "[VERB]", "this text, or all about one verb",
     "Prints the general help, or that of one verb.",
     "  tarnisctl help\n"
     "  tarnisctl help watch\n",
     "  0  done\n"
     "  1  there is no such verb\n"
     "  3  the output could not be written\n",
     AddHelp, nullptr},
};

} // namespace

namespace Host
{

std::span<const VerbRow> VerbRows()
{
    return rows;
}

} // namespace Host
