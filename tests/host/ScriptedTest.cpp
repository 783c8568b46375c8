// States and failures of a plug-in that no machine file brings about.
#include "tests/host/Process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace
{

using nlohmann::json;

Outcome RunScripted(std::vector<std::string> arguments, Environment environment = {},
                    Stdout kind = Stdout::Pipe)
{
    arguments.insert(arguments.end(), {"--plugin", TARNIS_BIN_DIR "/scripted_plugin.so"});
    environment.emplace_back("TARNIS_MACHINE", WriteFile("empty.json", R"({"version": 1})"));
    return RunTarnisctl(arguments, environment, kind);
}

bool Holds(const std::string& text, const std::string& piece)
{
    return text.find(piece) != std::string::npos;
}

TEST(Scripted, OrderOfCallsHoldsOnEveryWay)
{
    using enum Stdout;
    const struct
    {
        std::vector<std::string> arguments;
        Environment environment;
        Stdout kind;
        int exitCode;
        std::string calls;
        const char* complaint;
    } cases[] = {
        {{}, {}, Pipe, 0, "1 4 3 ", ""},
        {{"--json"}, {}, Full, 3, "1 4 3 ", "standard output"},
        {{}, {}, Closed, 3, "1 4 3 ", "standard output"},
        {{"get", "disk8", "name"}, {}, Pipe, 3, "1 4 6 3 ", "no NAME: PHYSICALDRIVE_BUSY (20054)"},
        {{"get", "0x5", "30007"}, {}, Pipe, 3, "1 6 3 ", "(20054)"},
        {{"get", "disk3", "name"}, {}, Pipe, 1, "1 4 3 ", "disks: disk7, disk8, disk9"},
        {{"--json"}, {{"SCRIPT_INIT", "20001"}}, Pipe, 2, "1 3 ", "NO_SUPPORTED_HARDWARE (20001)"},
        {{}, {{"SCRIPT_INIT", "20011"}}, Pipe, 3, "1 ", "LOCK_INITIALIZATION_FAILED (20011)"},
        {{}, {{"SCRIPT_INIT", "-7"}}, Pipe, 3, "1 3 ", "(-7)"},
        {{}, {{"SCRIPT_VERSION", "3"}}, Pipe, 3, "", "version 3"},
    };
    for (const auto& c : cases)
    {
        const std::string log = WriteFile("calls.log", "");
        Environment environment = c.environment;
        environment.emplace_back("SCRIPT_LOG", log);
        const Outcome outcome = RunScripted(c.arguments, environment, c.kind);
        SCOPED_TRACE(c.complaint);
        EXPECT_EQ(outcome.exitCode, c.exitCode);
        EXPECT_EQ(ReadFile(log), "create " + c.calls + "release ");
        EXPECT_EQ(outcome.out.empty(), c.exitCode != 0);
        EXPECT_TRUE(Holds(outcome.err, c.complaint)) << outcome.err;
    }
}

TEST(Scripted, LibraryThatIsNoPluginIsOneLine)
{
    const struct
    {
        std::string file;
        const char* said;
    } cases[] = {
        {TestFolder() + "/none.so", "none.so"},
        {WriteFile("text.so", "no library"), "text.so"},
        {TARNIS_BIN_DIR "/libzelPlug.so", "releaseIf"},
        {TestFolder(), TestFolder().c_str()},
    };
    for (const auto& c : cases)
    {
        const Outcome outcome = RunTarnisctl(
            {"--plugin", c.file, "--machine", WriteFile("empty.json", R"({"version": 1})")});
        EXPECT_EQ(outcome.exitCode, 3);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(CountLines(outcome.err), 1U) << outcome.err;
        EXPECT_TRUE(Holds(outcome.err, c.said)) << outcome.err;
    }
}

TEST(Scripted, DriveInTroubleStandsFirstAndIsMarked)
{
    const std::string text = RunScripted({}).out;
    EXPECT_EQ(text.rfind("!! 2 of 3 drives in trouble\n", 0), 0U) << text;
    EXPECT_TRUE(Holds(text, "!! disk8  AVAILABLE_SMART  WORN (8), serial S-8\n"
                            "     rated endurance used: 97 %\n"));
    EXPECT_TRUE(Holds(text, "!! disk9  FAILED  DEAD (9)"));
    EXPECT_TRUE(Holds(text, "No SMART readings, so no warning would come, from disk7, disk9\n"));
    EXPECT_TRUE(Holds(text, "!! Adapter  -, WARNING"));
    // Every property of every object, also of those that hang nowhere.
    EXPECT_TRUE(Holds(text, "Physical size             953869 MB (931.5 GB)\n"));
    EXPECT_TRUE(Holds(text, "Physical size             unknown\n"));
    EXPECT_TRUE(Holds(text, "Power-on hours            8000 h (333 days)\n"));
    EXPECT_TRUE(Holds(text, "Rated endurance percent   -\n"));
    EXPECT_TRUE(Holds(text, "Unique ID                 ID=9\n"));
    EXPECT_TRUE(Holds(text, "Temperature               23.1 °C\n"));
    EXPECT_TRUE(Holds(text, "LUN                       -\n"));
    EXPECT_FALSE(Holds(text, "\x1b")) << "colours belong on a terminal only";

    const std::string coloured = RunScripted({}, {}, Stdout::Terminal).out;
    EXPECT_TRUE(Holds(coloured, "\x1b[1;31m!! disk9"));
    EXPECT_FALSE(Holds(RunScripted({}, {{"NO_COLOR", "1"}}, Stdout::Terminal).out, "\x1b"));
}

TEST(Scripted, TextsNeverReachTheTerminalAsCommands)
{
    const struct
    {
        const char* name;
        const char* shown;
        const char* jsonName;
    } cases[] = {
        {"a\x1b[2Jb\x07\x7f\n", "a\\x1b[2Jb\\x07\\x7f\\x0a ", "a\x1b[2Jb\x07\x7f\n"},
        {"q\"\\'\xff\xc3(\xed\xa0\x80", "q\"\\'\\xff\\xc3(\\xed\\xa0\\x80 ",
         "q\"\\'\uFFFD\uFFFD(\uFFFD\uFFFD\uFFFD"},
        {"c1\xc2\x9b"
         "bidi\u202e",
         "c1\\u009bbidi\\u202e ",
         "c1\u009b"
         "bidi\u202e"},
        // Two wide characters and a letter with its accent take the five columns of the title.
        {"日本e\u0301", "MODEL  SERIAL", "日本e\u0301"},
        {"日本e\u0301", "日本e\u0301  S-7", "日本e\u0301"},
    };
    for (const auto& c : cases)
    {
        const Environment environment{{"SCRIPT_NAME", c.name}, {"NO_COLOR", "1"}};
        const std::string text = RunScripted({}, environment).out;
        EXPECT_TRUE(Holds(text, c.shown)) << text;
        for (const char control : {'\x1b', '\x07', '\x7f', '\xff'})
            EXPECT_EQ(text.find(control), std::string::npos) << text;
        const json objects = json::parse(RunScripted({"--json"}, environment).out)["objects"];
        EXPECT_EQ(objects[2]["properties"][0]["value"], std::string(c.jsonName) + " (7)");
    }
}

TEST(Scripted, JsonNumbersAreExact)
{
    const json drive = json::parse(RunScripted({"--json"}).out)["objects"][3];
    const auto property = [&drive](const char* name)
    {
        for (const json& candidate : drive["properties"])
            if (candidate["name"] == name)
                return candidate;
        return json();
    };
    EXPECT_EQ(property("TEMPERATURE")["value"].dump(), "23.1");
    EXPECT_TRUE(property("LUN")["value"].is_null());
    EXPECT_EQ(property("STATUS")["value"], 40180);
    EXPECT_EQ(property("STATUS")["text"], "AVAILABLE_SMART");
    EXPECT_EQ(property("RATED_ENDURANCE_PERCENT")["value"], 97);
    EXPECT_EQ(property("UNIQUE_ID")["viewMask"], 0);
}

} // namespace
