// States and failures of a plug-in that no machine file brings about.
#include "tests/host/Process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <tuple>

namespace
{

using nlohmann::json;

Outcome RunScripted(Arguments arguments, Environment environment = {}, Stdout kind = Stdout::Pipe)
{
    arguments.insert(arguments.end(), {"--plugin", TARNIS_BIN_DIR "/scripted_plugin.so"});
    environment.emplace_back("TARNIS_MACHINE", testFolder.Write("empty.json", R"({"version": 1})"));
    return RunTarnisctl(arguments, environment, kind);
}

TEST(Scripted, OrderOfCallsHoldsOnEveryWay)
{
    using enum Stdout;
    const std::tuple<Arguments, Environment, Stdout, int, std::string, std::string> cases[] = {
        {{}, {}, Pipe, 0, "1 4 3 ", ""},
        {{"--json"}, {}, Full, 3, "1 4 3 ", "standard output"},
        {{}, {}, Full, 3, "1 4 3 ", "standard output"},
        {{}, {}, Closed, 0, "1 4 3 ", ""},
        {{"--json"}, {}, Closed, 0, "1 4 3 ", ""},
        {{"watch"}, {}, Closed, 0, "1 4 2 3 ", ""},
        {{"get", "disk8", "name"}, {}, Closed, 3, "1 4 6 3 ", "no NAME"},
        {{"get", "disk8", "name"}, {}, Pipe, 3, "1 4 6 3 ", "no NAME: PHYSICALDRIVE_BUSY (20054)"},
        {{"get", "0x5", "30007"}, {}, Pipe, 3, "1 6 3 ", "(20054)"},
        {{"get", "disk3", "name"}, {}, Pipe, 1, "1 4 3 ", "disks: disk7, disk8, disk9"},
        {{"--json"}, {{"SCRIPT_INIT", "20001"}}, Pipe, 2, "1 3 ", "NO_SUPPORTED_HARDWARE (20001)"},
        {{}, {{"SCRIPT_INIT", "20011"}}, Pipe, 3, "1 ", "LOCK_INITIALIZATION_FAILED (20011)"},
        {{}, {{"SCRIPT_INIT", "-7"}}, Pipe, 3, "1 3 ", "(-7)"},
        {{}, {{"SCRIPT_VERSION", "3"}}, Pipe, 3, "", "version 3"},
    };
    for (const auto& [arguments, scripted, kind, exitCode, calls, complaint] : cases)
    {
        const std::string log = testFolder.Write("calls.log", "");
        Environment environment = scripted;
        environment.emplace_back("SCRIPT_LOG", log);
        const Outcome outcome = RunScripted(arguments, environment, kind);
        SCOPED_TRACE(complaint);
        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_EQ(testFolder.Read("calls.log"), "create " + calls + "release ");
        EXPECT_EQ(outcome.out.empty(), exitCode != 0 || kind == Closed);
        EXPECT_TRUE(Holds(outcome.err, complaint)) << outcome.err;
        EXPECT_EQ(Holds(outcome.err, "tarnisctl: "), exitCode != 0) << outcome.err;
        // What a plug-in prints at its start is no answer, and is not lost.
        EXPECT_EQ(Holds(outcome.err, "scripted:  Initialize\n"), calls.starts_with("1"));
    }
}

TEST(Scripted, DriveInTroubleStandsFirstAndIsMarked)
{
    const std::string text = RunScripted({"show", "--all"}).out;
    EXPECT_EQ(text.rfind("!! 2 of 3 drives in trouble\n", 0), 0U) << text;
    for (const char* line :
         {"!! disk8  failing  WORN, serial S-8\n     endurance used 97 %\n",
          "!! disk9  failed  DEAD, serial S-9", "!! Adapter  -, WARNING",
          "Not judged, so no warning would come: disk7 (it gives no SMART page)\n",
          // Every property of every object, also of those that hang nowhere.
          "Physical size             1 TB\n", "Physical size             unknown\n",
          "Power-on hours            8000 h (333 days)\n", "Rated endurance percent   -\n",
          "Unique ID                 ID=9\n", "Temperature               23.1 °C\n",
          "LUN                       -\n"})
        EXPECT_TRUE(Holds(text, line)) << line;
}

TEST(Scripted, ColoursAreForWhomeverWantsThem)
{
    using enum Stdout;
    const std::tuple<const char*, Environment, Stdout, bool> cases[] = {
        {"auto", {}, Terminal, true},
        {"auto", {}, Pipe, false},
        {"auto", {{"TERM", "dumb"}}, Terminal, false},
        {"auto", {{"CLICOLOR", "0"}}, Terminal, false},
        {"auto", {{"CLICOLOR", "1"}}, Terminal, true},
        {"auto", {{"CLICOLOR", "1"}}, Pipe, false},
        {"auto", {{"CLICOLOR_FORCE", "1"}, {"CLICOLOR", "0"}}, Pipe, true},
        {"auto", {{"CLICOLOR_FORCE", "0"}}, Pipe, false},
        {"auto", {{"CLICOLOR_FORCE", ""}, {"CLICOLOR", "0"}}, Terminal, false},
        {"auto", {{"NO_COLOR", "1"}, {"CLICOLOR_FORCE", "1"}}, Terminal, false},
        {"auto", {{"NO_COLOR", ""}}, Terminal, true},
        {"always", {{"NO_COLOR", "1"}}, Pipe, true},
        {"never", {{"CLICOLOR_FORCE", "1"}}, Terminal, false},
    };
    for (const auto& [option, environment, kind, isColoured] : cases)
    {
        const std::string text = RunScripted({"--color", option}, environment, kind).out;
        EXPECT_EQ(Holds(text, "\x1b[1;31m!! disk9"), isColoured)
            << option << (environment.empty() ? "" : environment[0].first);
        EXPECT_EQ(Holds(text, "\x1b"), isColoured);
    }
    // The last one counts: a shell may hold the first in an alias.
    EXPECT_FALSE(Holds(RunScripted({"--color=always", "--color=never"}).out, "\x1b"));
}

TEST(Scripted, TextsNeverReachTheTerminalAsCommands)
{
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"a\x1b[2Jb\x07\x7f\n", "a\\x1b[2Jb\\x07\\x7f\\x0a ", "a\x1b[2Jb\x07\x7f\n"},
        {"q\"\\'\xff\xc3(\xed\xa0\x80", "q\"\\'\\xff\\xc3(\\xed\\xa0\\x80 ",
         "q\"\\'\uFFFD\uFFFD(\uFFFD\uFFFD\uFFFD"},
        {"c1\u009b, \u202e", "c1\\u009b, \\u202e ", "c1\u009b, \u202e"},
        // Two wide characters and a letter with its accent take the five columns of the title.
        {"日本e\u0301", "MODEL  SERIAL", "日本e\u0301"},
    };
    for (const auto& [name, shown, jsonName] : cases)
    {
        const Environment environment{{"SCRIPT_NAME", name}, {"NO_COLOR", "1"}};
        const std::string text = RunScripted({}, environment).out;
        EXPECT_TRUE(Holds(text, shown)) << text;
        for (const char control : {'\x1b', '\x07', '\x7f', '\xff'})
            EXPECT_EQ(text.find(control), std::string::npos) << text;
        const json objects = json::parse(RunScripted({"--json"}, environment).out)["objects"];
        EXPECT_EQ(objects[2]["properties"][0]["value"], jsonName + " (7)");
    }
}

TEST(Scripted, JsonNumbersAreExact)
{
    json values;
    const json drive = json::parse(RunScripted({"--json"}).out)["objects"][3];
    for (const json& property : drive["properties"])
        values[std::string(property["name"])] = property;
    EXPECT_EQ(values["TEMPERATURE"]["value"].dump(), "23.1");
    EXPECT_TRUE(values["LUN"]["value"].is_null());
    EXPECT_EQ(values["STATUS"]["value"], 40180);
    EXPECT_EQ(values["STATUS"]["text"], "AVAILABLE_SMART");
    EXPECT_EQ(values["RATED_ENDURANCE_PERCENT"]["value"], 97);
    EXPECT_EQ(values["UNIQUE_ID"]["viewMask"], 0);
}

} // namespace
