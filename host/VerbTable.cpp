#include "host/VerbTable.h"

#include "host/Duration.h"
#include "host/Names.h"
#include "host/Verbs.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <limits>
#include <string>

namespace
{

using Host::Options;

constexpr const char* objectHelp = "plugin, adapter, disk0, disk1 ... or an id of show --json";
constexpr const char* propertyHelp = "a name, a number, or its label in the output of show";

/// An option that takes texts with commas between them, and may be given several times.
void AddList(CLI::App& verb, const char* name, const char* type, std::vector<std::string>& values,
             const char* help)
{
    verb.add_option_function<std::vector<std::string>>(
            name,
            [&values](const std::vector<std::string>& given)
            {
                for (const std::string& text : given)
                    for (const std::string& value : CLI::detail::split(text, ','))
                        values.push_back(value);
            },
            help)
        ->type_name(type)
        ->allow_extra_args(false);
}

void AddShow(CLI::App& verb, Options& options)
{
    verb.add_option("OBJECT", options.objects,
                    "in full: disk0, a name such as sda, a serial number, plugin, adapter, an id");
    verb.add_flag("--all", options.all, "every property of every object, below the table");
    verb.add_flag("--wide", options.table.isWide, "all columns, however wide the terminal is");
    AddList(verb, "-o", "COLUMNS", options.table.columns,
            "columns of the table, by key or title, such as disk,model,firmware");
    verb.add_option("--sort", options.table.sort, "the column to sort by")->type_name("COLUMN");
    verb.add_flag_callback(
        "--no-header", [&options] { options.table.hasHeader = false; }, "no line of titles");
}

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

void AddIgnore(CLI::App& verb, Options& options)
{
    AddList(verb, "--ignore", "SERIAL", options.ignored,
            "leaves the drive of this serial number out");
}

/// Those of the command that is run.
void AddAlarms(CLI::App& verb, Host::AlarmOptions& alarms)
{
    CLI::Option* const command = verb.add_option("--exec", alarms.command,
                                                 "run when the trouble of a drive starts or ends, "
                                                 "without a shell, with TARNIS_ALARM_... in its "
                                                 "environment")
                                     ->type_name("COMMAND");
    command->check([](const std::string& text)
                   { return std::string(text.empty() ? "the command is empty" : ""); });
    verb.add_option_function<std::string>(
            "--exec-timeout",
            [&alarms](const std::string& text)
            { alarms.timeoutSeconds = Host::ParseSeconds("--exec-timeout", text); },
            "the command is killed after this time; default: 30s")
        ->type_name("TIME")
        ->needs(command);
    verb.add_option_function<std::string>(
            "--remind",
            [&alarms](const std::string& text)
            { alarms.remindSeconds = text == "0" ? 0 : Host::ParseSeconds("--remind", text); },
            "runs it again while the same trouble stands; default: 24h; 0: only once")
        ->type_name("TIME")
        ->needs(command);
}

void AddWatch(CLI::App& verb, Options& options)
{
    AddList(verb, "--only", "OBJECTS", options.only, "of these drives alone: disk3,sdb");
    AddIgnore(verb, options);
    verb.add_option_function<std::string>(
            "--for",
            [&options](const std::string& text)
            { options.watchSeconds = Host::ParseSeconds("--for", text); },
            "ends after 90 (seconds), 5s, 10m, 2h or 1d; default: not before a signal")
        ->type_name("TIME");
    AddAlarms(verb, options.alarms);
}

std::uint32_t ParseCount(const std::string& text)
{
    const auto count = Host::ParseNumber(text);
    if (!count || *count > std::numeric_limits<std::uint32_t>::max())
        throw Host::UsageFailure("--expect '" + text + "' is no number of drives, such as 12");
    return static_cast<std::uint32_t>(*count);
}

void AddCheck(CLI::App& verb, Options& options)
{
    verb.add_option("OBJECT", options.objects,
                    "drives to check: disk0, a name such as sda, a serial number; default: all");
    verb.add_flag("--quiet", options.isQuiet, "prints nothing, the exit code is the answer");
    verb.add_flag("--strict", options.isStrict, "a drive that cannot be judged is unknown");
    verb.add_flag("--forget", options.forget,
                  "takes the drives that are there now for all of them");
    verb.callback(
        [&options]
        {
            if (options.forget && !options.objects.empty())
                throw Host::UsageFailure("check --forget takes all drives, not named ones");
        });
    verb.add_option_function<std::string>(
            "--expect",
            [&options](const std::string& text) { options.expected = ParseCount(text); },
            "how many drives there should be")
        ->type_name("N");
    AddIgnore(verb, options);
}

void AddExplain(CLI::App& verb, Options& options)
{
    verb.add_option("NUMBER|NAME", options.query,
                    "what to explain, with or without ERR_, VAL_ ...");
    verb.add_flag("--all", options.all, "all that there is, a line each");
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
     .arguments = "[OBJECT...]",
     .summary = "state of all drives (default), or objects in full",
     .purpose = R"(
Prints which drives are in trouble and why, which cannot be judged, and a table
of all drives. Objects that are named are printed in full: every property, and
of a drive the attributes of its SMART page.
)",
     .examples = R"(
  tarnisctl show
  tarnisctl show disk7 sda
  tarnisctl show -o disk,model,firmware --sort model
  tarnisctl show --json | jq '.objects[].id'
)",
     .exitCodes = R"(
  0  done
  1  wrong usage, or a wrong machine file
  2  no supported hardware
  3  the plug-in gave an error, or the output could not be written
  4  a right is missing to read a disk; what can be read is shown
)",
     .addArguments = AddShow,
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
     .summary = "prints changes as they come, until Ctrl-C or SIGTERM",
     .purpose = R"(
Looks at the drives every poll interval. Prints how things stand, then a line
for each drive that comes, goes, is replaced, gets into trouble or out of it,
passes a threshold, loses its readings or has more errors than before. Lines of
trouble begin with !!. What stands is repeated at the report times.
)",
     .examples = R"(
  tarnisctl watch
  tarnisctl watch --only disk3,sdb
  tarnisctl watch --for 2h --json
  tarnisctl watch --exec 'logger -t drives'
  tarnisctl watch --exec 'sh -c "echo $TARNIS_ALARM_LINE | mail -s drives root"'
)",
     .exitCodes = R"(
  0  ended by a signal, by its time, or because nobody reads its output
  1  wrong usage, or a wrong machine file
  2  no supported hardware
  3  the plug-in gave an error or does not look at the drives, or the output
     could not be written
  4  as 0, but a right is missing to read a disk
)",
     .addArguments = AddWatch,
     .run = Host::Watch,
     .keepsDrives = true},
    {.name = "check",
     .arguments = "[OBJECT...]",
     .summary = "one line and an exit code for cron and monitoring",
     .purpose = R"(
Prints one line with performance data, as the guidelines for monitoring plug-ins
have it. Critical: a drive that fails, does not answer, or is gone since an
earlier check. Warning: a threshold of CustomOpts.ini or the rated writes are
passed, errors rose since the earlier check, or rows are not written. The drives
that were seen are kept beside the database (tarnisctl-check.json).
)",
     .examples = R"(
  tarnisctl check
  tarnisctl check --quiet --expect 12 || mail -s drives root < /dev/null
)",
     .exitCodes = R"(
  0  OK
  1  warning
  2  critical
  3  unknown: no plug-in, no hardware, a right is missing, or wrong usage
)",
     .addArguments = AddCheck,
     .run = Host::Check,
     .keepsDrives = true},
    {.name = "explain",
     .arguments = "NUMBER|NAME|--all",
     .summary = "what a number, a name or a word of the output means",
     .purpose = R"(
Tells the name of a number, or the number of a name, and what it means: numbers
and names of the plug-in, SMART attributes, states, changes and labels that this
program prints. No plug-in is needed.
)",
     .examples = R"(
  tarnisctl explain 20001
  tarnisctl explain AVAILABLE_SMART --json
  tarnisctl explain failing
  tarnisctl explain 197
)",
     .exitCodes = R"(
  0  done
  1  wrong usage, or there is no such number, name or word
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
