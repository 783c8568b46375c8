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

constexpr Host::VerbRow rows[] = {
    {.name = "show",
     .arguments = "",
     .summary = "state of all drives, then every property (default)",
     .purpose = R"(
Prints which drives are in trouble, a table of all drives, and every property
of every object.
)",
     .examples = R"(
  tarnisctl show
  tarnisctl show --json | jq '.objects[].id'
)",
     .exitCodes = R"(
  0  done
  1  wrong usage, or a wrong machine file
  2  no supported hardware
  3  the plug-in gave an error, or the output could not be written
  4  a right is missing to read a disk; what can be read is shown
)",
     .addArguments = AddNothing,
     .run = Host::Show},
    {.name = "get",
     .arguments = "OBJECT PROPERTY...",
     .summary = "one value, or several as lines of NAME: value",
     .purpose = R"(
Prints values of an object. One value stands alone; several are lines of
NAME: value, in the order in which they are asked for. What the object does not
give is told on standard error, and the others are printed.
)",
     .examples = R"(
  tarnisctl get disk0 temperature
  tarnisctl get disk0 "Power-on hours" STATUS --json
)",
     .exitCodes = R"(
  0  done
  1  wrong usage, a disk that is not there, or a wrong machine file
  2  no supported hardware
  3  a value is not given, the plug-in gave an error, or the output could not be
     written
  4  the disk is not among those that there is a right to read
)",
     .addArguments = AddGet,
     .run = Host::Get},
    {.name = "set",
     .arguments = "OBJECT PROPERTY VALUE",
     .summary = "changes a value and keeps it",
     .purpose = R"(
Changes a value, keeps it in the settings file and prints what is in force then.
A watch that runs takes it up at its next start.
)",
     .examples = R"(
  tarnisctl set plugin POLL_INTERVAL 60
  tarnisctl set plugin "Poll interval" 60 --json
)",
     .exitCodes = R"(
  0  done
  1  wrong usage, a disk that is not there, a value out of range, or a wrong
     machine file
  2  no supported hardware
  3  the property cannot be set or saved, the plug-in gave an error, or the
     output could not be written
  4  the disk is not among those that there is a right to read
)",
     .addArguments = AddSet,
     .run = Host::Set},
    {.name = "watch",
     .arguments = "[--for TIME]",
     .summary = "prints events as they come, until Ctrl-C or SIGTERM",
     .purpose = R"(
Looks at the drives every poll interval, and prints drives that come, go or get
into trouble, a line each.
)",
     .examples = R"(
  tarnisctl watch
  tarnisctl watch --for 2h --json
)",
     .exitCodes = R"(
  0  ended by a signal, by its time, or because nobody reads its output
  1  wrong usage, or a wrong machine file
  2  no supported hardware
  3  the plug-in gave an error, or the output could not be written
  4  as 0, but a right is missing to read a disk
)",
     .addArguments = AddWatch,
     .run = Host::Watch},
    {.name = "explain",
     .arguments = "NUMBER|NAME|--all",
     .summary = "what a number or name of the vocabulary means",
     .purpose = R"(
Tells the name of a number, or the number of a name, and what it means. No
plug-in is needed.
)",
     .examples = R"(
  tarnisctl explain 20001
  tarnisctl explain AVAILABLE_SMART --json
)",
     .exitCodes = R"(
  0  done
  1  wrong usage, or the vocabulary has no such number or name
  3  the output could not be written
)",
     .addArguments = AddExplain,
     .run = Host::Explain},
    {.name = "help",
     .arguments = "[VERB]",
     .summary = "this text, or all about one verb",
     .purpose = R"(
Prints the general help, or that of one verb.
)",
     .examples = R"(
  tarnisctl help
  tarnisctl help watch
)",
     .exitCodes = R"(
  0  done
  1  wrong usage, or there is no such verb
  3  the output could not be written
)",
     .addArguments = AddHelp,
     .run = nullptr},
};

} // namespace

namespace Host
{

std::span<const VerbRow> VerbRows()
{
    return rows;
}

} // namespace Host
