#include "host/Options.h"

#include "contracts/zelKit/Environment.h"
#include "host/Failure.h"
#include "host/Names.h"

#include <CLI/CLI.hpp>

#include <string>
#include <utility>

namespace Host
{

const char* const versionText = "tarnisctl 7.8.1\n";

const char* const helpText =
    R"(tarnisctl - shows what the tarnis plug-in knows of this machine's SATA drives

Usage: tarnisctl [OPTIONS] [VERB]

Verbs:
  show                        state of all drives, then every property (the default)
  get OBJECT PROPERTY         one value; OBJECT is plugin, adapter, disk0, disk1 ...
                              or an id, PROPERTY a name or a number
  set OBJECT PROPERTY VALUE   changes a value and keeps it: set plugin POLL_INTERVAL 60;
                              a watch that runs takes it up at its next start
  watch [--for SECONDS]       prints events as they come, until Ctrl-C or SIGTERM
  explain NUMBER|NAME|--all   what a number or name of the vocabulary stands for;
                              needs no plug-in

Options, before or after the verb:
  --json                      print JSON
  --machine FILE              see the machine of this file   (TARNIS_MACHINE)
  --config-dir DIR            folder of the settings files   (TARNIS_CONFIG_DIR)
  --database FILE             SQLite file of the rows        (TARNIS_DATABASE)
  --trace-mask N              trace bits, decimal or 0x      (TARNIS_TRACE_MASK)
  --trace-file FILE           where trace lines go           (TARNIS_TRACE_FILE)
  --plugin FILE               the plug-in library; default: tarnis.so beside this program
  --help, --version

Sizes step by 1024. Colours are used on a terminal, unless NO_COLOR is set.

Examples:
  tarnisctl --machine lab.json
  tarnisctl get disk0 temperature
  tarnisctl watch --for 3600 --json
  tarnisctl show --json | jq '.objects[].id'
  tarnisctl explain 20001

Exit codes: 0 done; 1 wrong usage, a disk that is not there, or a wrong machine file;
2 no supported hardware; 3 the plug-in could not be loaded or gave an error, or the output
could not be written; 4 a right is missing to read a disk, what can be read is shown.
)";

namespace
{

void CheckTraceMask(const std::string& text)
{
    const auto mask = ParseNumber(text);
    if (!mask || *mask > 0xFFFFFFFFu)
        throw UsageFailure("--trace-mask " + text + " is no 32-bit number, decimal or 0x");
}

void AddOption(CLI::App& app, const char* name, std::string& value)
{
    // An empty value would leave the default in force, which nobody means who writes the option.
    app.add_option(name, value)
        ->check(CLI::Validator([](std::string& text)
                               { return std::string(text.empty() ? "the value is empty" : ""); },
                               "", ""));
}

} // namespace

Options ParseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    CLI::App app;
    app.set_help_flag("-h,--help");
    app.set_version_flag("--version", "");
    app.require_subcommand(0, 1);
    app.allow_windows_style_options(false); // a "/" begins the name of a file
    app.add_flag("--json", options.json);
    AddOption(app, "--machine", options.machine);
    AddOption(app, "--config-dir", options.configDir);
    AddOption(app, "--database", options.database);
    AddOption(app, "--trace-mask", options.traceMask);
    AddOption(app, "--trace-file", options.traceFile);
    AddOption(app, "--plugin", options.plugin);

    const auto addVerb = [&app](const char* name)
    {
        CLI::App* sub = app.add_subcommand(name);
        sub->set_help_flag();
        sub->fallthrough();
        return sub;
    };
    addVerb("show");
    CLI::App* get = addVerb("get");
    get->add_option("OBJECT", options.object)->required();
    get->add_option("PROPERTY", options.property)->required();
    CLI::App* set = addVerb("set");
    set->add_option("OBJECT", options.object)->required();
    set->add_option("PROPERTY", options.property)->required();
    set->add_option("VALUE", options.value)->required();
    CLI::App* watch = addVerb("watch");
    watch->add_option("--for", options.watchSeconds)->check(CLI::Range(1U, 4294967295U));
    CLI::App* explain = addVerb("explain");
    explain->add_option("NUMBER|NAME", options.query);
    explain->add_flag("--all", options.all);

    std::vector<std::string> words(arguments.rbegin(), arguments.rend());
    if (!words.empty())
        words.pop_back(); // the program's name
    try
    {
        app.parse(std::move(words));
    }
    catch (const CLI::CallForHelp&)
    {
        options.verb = Verb::Help;
        return options;
    }
    catch (const CLI::CallForVersion&)
    {
        options.verb = Verb::Version;
        return options;
    }
    catch (const CLI::ExtrasError& error)
    {
        const auto rest = app.remaining(true);
        if (rest.empty())
            throw UsageFailure(error.what());
        throw UsageFailure("'" + rest.front() + "' is not understood here" +
                           (app.get_subcommands().empty() && rest.front().front() != '-'
                                ? "; the verbs are show, get, set, watch and explain"
                                : ""));
    }
    catch (const CLI::ParseError& error)
    {
        throw UsageFailure(error.what());
    }

    if (get->parsed())
        options.verb = Verb::Get;
    else if (set->parsed())
        options.verb = Verb::Set;
    else if (watch->parsed())
        options.verb = Verb::Watch;
    else if (explain->parsed())
        options.verb = Verb::Explain;
    if (!options.traceMask.empty())
        CheckTraceMask(options.traceMask);
    if (options.verb == Verb::Explain && options.query.empty() != options.all)
        throw UsageFailure("explain takes a number, a name or --all, one of them");
    return options;
}

void ApplyEnvironment(const Options& options)
{
    const std::pair<const char*, const std::string*> variables[] = {
        {"TARNIS_MACHINE", &options.machine},      {"TARNIS_CONFIG_DIR", &options.configDir},
        {"TARNIS_DATABASE", &options.database},    {"TARNIS_TRACE_MASK", &options.traceMask},
        {"TARNIS_TRACE_FILE", &options.traceFile},
    };
    for (const auto& [name, value] : variables)
        if (!value->empty())
            ZKT::Misc::SetVariable(name, *value);
}

} // namespace Host
