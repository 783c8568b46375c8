#include "host/Options.h"

#include "contracts/zelKit/Environment.h"
#include "host/Failure.h"
#include "host/Help.h"
#include "host/Lists.h"
#include "host/Names.h"
#include "host/VerbTable.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace
{

using Host::Options;
using Host::UsageFailure;
using Host::VerbRow;

constexpr const char* versionText = "tarnisctl 7.8.1\n";

void CheckTraceMask(const std::string& text)
{
    const auto mask = Host::ParseNumber(text);
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

Host::ColourMode ColourModeOf(const std::string& text)
{
    using enum Host::ColourMode;
    const std::map<std::string, Host::ColourMode> modes{
        {"auto", Auto}, {"always", Always}, {"never", Never}};
    const auto mode = modes.find(text);
    if (mode == modes.end())
        throw UsageFailure("--color takes auto, always or never, not '" + text + "'");
    return mode->second;
}

void AddGeneralOptions(CLI::App& app, Options& options)
{
    app.set_help_flag("-h,--help");
    app.set_version_flag("-V,--version", "");
    app.add_flag("--json", options.json);
    app.add_option_function<std::string>("--color", [&options](const std::string& text)
                                         { options.colour = ColourModeOf(text); })
        ->take_last(); // an alias of a shell may hold another one
    AddOption(app, "--machine", options.machine);
    AddOption(app, "--config-dir", options.configDir);
    AddOption(app, "--database", options.database);
    AddOption(app, "--trace-mask", options.traceMask);
    AddOption(app, "--trace-file", options.traceFile);
    AddOption(app, "--plugin", options.plugin);
}

void AddVerb(CLI::App& app, const VerbRow& row, Options& options)
{
    CLI::App* verb = app.add_subcommand(row.name);
    verb->set_help_flag(); // the general one serves all
    verb->fallthrough();
    row.addArguments(*verb, options);
}

const VerbRow* FindVerb(const std::string& name)
{
    const auto rows = Host::VerbRows();
    const auto row = std::ranges::find_if(rows, [&name](const VerbRow& candidate)
                                          { return candidate.name == name; });
    return row == rows.end() ? nullptr : &*row;
}

[[noreturn]] void FailUnknownVerb(const std::string& word)
{
    std::vector<std::string> names;
    for (const VerbRow& row : Host::VerbRows())
        names.emplace_back(row.name);
    throw UsageFailure("'" + word + "' is no verb; the verbs are " + Host::Enumerated(names) +
                       Host::DidYouMean(Host::SimilarNames(word, names)));
}

const CLI::App* ParsedVerb(const CLI::App& app)
{
    const auto verbs = app.get_subcommands();
    return verbs.empty() ? nullptr : verbs.front();
}

/// @param word  the first that neither the verb nor the program takes
[[noreturn]] void FailExtraWord(const CLI::App& app, const std::string& word)
{
    const CLI::App* verb = ParsedVerb(app);
    if (!word.starts_with('-'))
    {
        if (verb == nullptr)
            FailUnknownVerb(word);
        throw UsageFailure("'" + word + "' is not understood here");
    }
    std::vector<std::string> names;
    for (const CLI::App* level : {&app, verb})
        if (level != nullptr)
            for (const CLI::Option* option : level->get_options())
                for (const std::string& name : option->get_lnames())
                    names.push_back("--" + name);
    const std::string typed = word.substr(0, word.find('='));
    throw UsageFailure("'" + word + "' is no option here" +
                       Host::DidYouMean(Host::SimilarNames(typed, names)));
}

std::string HelpOf(const CLI::App& app, const std::string& verb)
{
    if (verb.empty())
        return Host::GeneralHelp();
    const VerbRow* row = FindVerb(verb);
    if (row == nullptr)
        FailUnknownVerb(verb);
    return Host::VerbHelp(*row, *app.get_subcommand(verb));
}

void Parse(CLI::App& app, const std::vector<std::string>& arguments, Options& options)
{
    std::vector<std::string> words(arguments.rbegin(), arguments.rend());
    if (!words.empty())
        words.pop_back(); // the program's name
    try
    {
        app.parse(std::move(words));
        const CLI::App* verb = ParsedVerb(app);
        options.verb = verb == nullptr ? &Host::VerbRows().front() : FindVerb(verb->get_name());
        if (options.verb->run == nullptr)
            options.answer = HelpOf(app, options.helpVerb);
    }
    catch (const CLI::CallForHelp&)
    {
        const CLI::App* verb = ParsedVerb(app);
        if (const auto rest = app.remaining(); verb == nullptr && !rest.empty())
            FailExtraWord(app, rest.front());
        options.answer = HelpOf(app, verb == nullptr ? "" : verb->get_name());
    }
    catch (const CLI::CallForVersion&)
    {
        options.answer = versionText;
    }
    catch (const CLI::ExtrasError& error)
    {
        const auto rest = app.remaining(true);
        if (rest.empty())
            throw UsageFailure(error.what());
        FailExtraWord(app, rest.front());
    }
    catch (const CLI::ParseError& error)
    {
        throw UsageFailure(error.what());
    }
}

} // namespace

namespace Host
{

bool Options::IsIgnored(const std::string& serial) const
{
    return !serial.empty() && std::ranges::find(ignored, serial) != ignored.end();
}

Options ParseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    CLI::App app;
    app.require_subcommand(0, 1);
    app.allow_windows_style_options(false); // a "/" begins the name of a file
    AddGeneralOptions(app, options);
    for (const VerbRow& row : VerbRows())
        AddVerb(app, row, options);
    Parse(app, arguments, options);
    if (!options.traceMask.empty())
        CheckTraceMask(options.traceMask);
    return options;
}

namespace
{

bool IsCheckAsked(const std::vector<std::string>& arguments)
{
    constexpr std::string_view withValue[] = {"--machine",    "--config-dir", "--database",
                                              "--trace-mask", "--trace-file", "--plugin",
                                              "--color"};
    for (std::size_t i = 1; i < arguments.size(); ++i)
    {
        if (!arguments[i].starts_with('-'))
            return arguments[i] == "check";
        if (std::ranges::find(withValue, arguments[i]) != std::end(withValue))
            ++i;
    }
    return false;
}

} // namespace

std::optional<Options> FormOfCheck(const std::vector<std::string>& arguments)
{
    if (!IsCheckAsked(arguments))
        return std::nullopt;
    const auto has = [&](const char* option)
    { return std::ranges::find(arguments, option) != arguments.end(); };
    Options options;
    options.json = has("--json");
    options.isQuiet = has("--quiet");
    return options;
}

namespace
{

/// The database that the command line names.
std::string DatabaseOf(const Options& options)
{
    const auto isNamed = [](const std::string& option, const char* variable)
    { return !option.empty() || !ZKT::Misc::GetVariable(variable).empty(); };
    const bool isPassing = options.verb != nullptr && !options.verb->keepsDrives &&
                           isNamed(options.machine, "TARNIS_MACHINE") &&
                           !isNamed(options.database, "TARNIS_DATABASE");
    return isPassing ? ":memory:" : options.database;
}

} // namespace

void ApplyEnvironment(const Options& options)
{
    const std::string database = DatabaseOf(options);
    const std::pair<const char*, const std::string*> variables[] = {
        {"TARNIS_MACHINE", &options.machine},
        {"TARNIS_CONFIG_DIR", &options.configDir},
        {"TARNIS_DATABASE", &database},
        {"TARNIS_TRACE_MASK", &options.traceMask},
        {"TARNIS_TRACE_FILE", &options.traceFile},
    };
    for (const auto& [name, value] : variables)
        if (!value->empty() && !ZKT::Misc::SetVariable(name, *value))
            throw Failure(EXIT_PLUGIN, std::string(name) + " cannot be set to " + *value +
                                           ": the system gives no memory for it");
}

} // namespace Host
