// What can be asked without a plug-in, and what is refused before one is loaded.
#include "tests/host/Process.h"
#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <tuple>

#include <sys/stat.h>

namespace
{

using nlohmann::json;

TEST(CommandLine, WhatCannotBeDoneIsToldInOneLine)
{
    const std::string empty = testFolder.Write("empty.json", R"({"version": 1})");
    const std::string broken = testFolder.Write("broken.json", "{\n  \"version\": 1,\n");
    const std::string text = testFolder.Write("text.so", "no library");
    const std::string fifo = testFolder.File("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string one = testFolder.Write("one.json", Support::MachineOf(1).dump());
    const std::tuple<Arguments, int, std::string> cases[] = {
        {{"shwo"}, 1, "show, get, set, watch, check, explain and help; did you mean show?"},
        {{"xyzzy", "--help"}, 1, "explain and help (see"},
        {{"help", "explian"}, 1, "did you mean explain?"},
        {{"help", "get", "set"}, 1, "'set'"},
        {{"--jsn"}, 1, "did you mean --json?"},
        {{"watch", "--fro=5"}, 1, "did you mean --for?"},
        {{"show", "--for", "5"}, 1, "'--for' is no option here"},
        {{"--color", "blue"}, 1, "--color takes auto, always or never, not 'blue'"},
        {{"watch", "--for", ""}, 1, "--for '' is no time"},
        {{"watch", "--for", "0"}, 1, "--for '0' is no time"},
        {{"watch", "--for", "h"}, 1, "such as 90, 10m or 2h"},
        {{"watch", "--for", "1w"}, 1, "--for '1w'"},
        {{"watch", "--for", "-1"}, 1, "--for"},
        {{"watch", "--for", "1.5h"}, 1, "--for '1.5h'"},
        // The longest time that fits in each unit, and one more.
        {{"watch", "--for", "4294967295", "--machine", "none"}, 1, "none: file"},
        {{"watch", "--for", "4294967296"}, 1, "--for"},
        {{"watch", "--for", "4294967295s", "--machine", "none"}, 1, "none: file"},
        {{"watch", "--for", "4294967296s"}, 1, "--for"},
        {{"watch", "--for", "71582788m", "--machine", "none"}, 1, "none: file"},
        {{"watch", "--for", "71582789m"}, 1, "--for"},
        {{"watch", "--for", "1193046h", "--machine", "none"}, 1, "none: file"},
        {{"watch", "--for", "1193047h"}, 1, "--for"},
        {{"watch", "--for", "49710d", "--machine", "none"}, 1, "none: file"},
        {{"watch", "--for", "49711d"}, 1, "--for"},
        {{"set", "plugin"}, 1, "PROPERTY"},
        {{"show", "-o", "disk,modell", "--machine", one}, 1, "did you mean model?"},
        {{"show", "disk9", "--machine", one}, 1, "there is no disk9 (disks: disk0)"},
        {{"get", "disk0"}, 1, "PROPERTY"},
        {{"get", "disk", "NAME", "--machine", one}, 1, "'disk' is no object"},
        {{"get", "dsik12", "NAME", "--machine", one}, 1, "did you mean disk12?"},
        {{"set", "plug-in", "NAME", "x", "--machine", one}, 1, "did you mean plugin?"},
        {{"get", "zebra", "NAME", "--machine", one}, 1, "or an id (see"},
        {{"get", "disk0", "NAME", "power onn hours"}, 1, "did you mean POWERON_HOURS"},
        {{"get", "disk0", "temprature"}, 1, "did you mean TEMPERATURE"},
        {{"get", "disk0", "99999999999"}, 1, "out of range"},
        {{"get", "disk0", "used"}, 1, "'used' is no property (see"},
        {{"get", "disk0", "exact_size"}, 1, "no property of the plug-in; show OBJECT and"},
        {{"show", "sda", "--machine", one}, 1, "disk1 ..., a serial number or an id (see"},
        {{"--machine"}, 1, "--machine"},
        {{"--plugin", ""}, 1, "--plugin"},
        {{"--trace-mask", "0x1ffffffff"}, 1, "--trace-mask"},
        {{"explain"}, 1, "--all"},
        {{"explain", "--all", "20001"}, 1, "one of them"},
        {{"explain", "_"}, 1, "there is no '_' to explain\n"},
        {{"explain", "foo"}, 1, "there is no 'foo' to explain\n"},
        {{"explain", "failign"}, 1, "did you mean failing?"},
        {{"explain", "status info"}, 1, "did you mean ADAPTER_STATUS_INFO"},
        {{"explain", "PROP_BUS"}, 1, "'PROP_BUS'"},
        {{"explain", "INVALID_COMAND"}, 1, "did you mean INVALID_COMMAND"},
        {{"explain", "\x1b[31m\xff"}, 1, "\\x1b[31m\\xff"},
        {{"--machine", testFolder.File("none.json")}, 1, testFolder.File("none.json")},
        {{"--machine", broken}, 1, broken},
        {{"--machine", testFolder.Path()}, 1, testFolder.Path()},
        {{"--machine", empty, "--plugin", testFolder.File("none.so")}, 3, "none.so"},
        {{"--machine", empty, "--plugin", text}, 3, "text.so"},
        {{"--machine", empty, "--plugin", TARNIS_BIN_DIR "/libzelPlug.so"}, 3, "releaseIf"},
        {{"--machine", empty, "--plugin", testFolder.Path()}, 3, testFolder.Path()},
        {{"--machine", empty, "--plugin", fifo}, 3, "fifo: not a regular file"},
        {{"explain", std::string(100000, 'x')}, 1, "xxx"},
        {{"--machine", empty, "--json"}, 2, "NO_SUPPORTED_HARDWARE (20001)"},
        {{"--json"}, 2, "--machine FILE"},
    };
    for (const auto& [arguments, exitCode, said] : cases)
        ExpectComplaint(RunTarnisctl(arguments), exitCode, said);
    for (const std::string count : {"x", "", "4294967296"}) // whose answer is a line all the same
        EXPECT_TRUE(Holds(RunTarnisctl({"check", "--expect", count}).out,
                          "UNKNOWN - --expect '" + count + "' is no number of drives"));
}

TEST(CommandLine, ExplainTellsEveryMatch)
{
    const std::pair<Arguments, std::string> cases[] = {
        {{"explain", "20003"}, "errors      20003  COMMAND_ERROR\n"},
        {{"explain", "err_command-error"}, "errors      20003  COMMAND_ERROR\n"},
        {{"explain", "VAL_AVAILABLE"},
         "values      40099  AVAILABLE\n            The drive answers, has no partition, and "
         "reaches no limit.\n"},
        {{"explain", "param-slot"}, "properties  35040  SLOT\n"},
        {{"explain", "PROP_SLOT"}, "properties  30224  SLOT\n"},
        {{"explain", "UNIT_HOURS"}, "units       21005  HOURS\n            Hours.\n"},
        {{"explain", "4294967295"},
         "views       4294967295  ALL\n            Every view shows the property.\n"},
        {{"explain", "2147483647"}, "properties  2147483647  UNSPECIFIED\n"},
        {{"explain", "slot"}, "properties  30224  SLOT\nproperties  35040  SLOT\n"},
        {{"explain", "198"}, "attributes  198    Uncorrectable sectors, offline\n"},
        {{"explain", "readings_lost"},
         "words       readingsLost\n            The drive cannot be judged any more.\n"},
        {{"explain", "20003", "--json"},
         R"({"attributes":{},"errors":{"20003":"COMMAND_ERROR"},"events":{},"objectTypes":{},"operations":{},)"
         R"("properties":{},"schemaVersion":1,"units":{},"values":{},"views":{},"words":{}})"},
        // A mask is explained by its bits.
        {{"explain", "9", "--json"},
         R"({"attributes":{"9":"Power-on hours"},"errors":{},"events":{},"meaning":{)"
         R"("attributes":{"9":"Time that the drive was powered on; not all count it in hours."},)"
         R"("views":{)"
         R"("1":"Bit of the views that show the PCI address of an adapter, with BIT_3.",)"
         R"("8":"Bit of the views that show the PCI address of an adapter, with BIT_0."}},)"
         R"("objectTypes":{},"operations":{},"properties":{},"schemaVersion":1,"units":{},)"
         R"("values":{},"views":{"1":"BIT_0","8":"BIT_3"},"words":{}})"},
        {{"--version"}, "tarnisctl 7.8.1\n"},
        {{"-V"}, "tarnisctl 7.8.1\n"},
    };
    for (const auto& [arguments, printed] : cases)
    {
        const Outcome outcome = RunTarnisctl(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "") << arguments.back();
        const bool isJson = arguments.back() == "--json";
        EXPECT_EQ(isJson ? json::parse(outcome.out).dump() : outcome.out, printed);
    }

    json whole = json::parse(RunTarnisctl({"--json", "explain", "--all"}).out);
    EXPECT_EQ(whole["errors"]["0"], "SUCCESS");
    std::size_t rows = whole["words"].size();
    for (const char* member : {"schemaVersion", "meaning", "words"})
        whole.erase(member);
    for (const json& table : whole)
    {
        rows += table.size();
        // A name of capitals and digits is compared as it is; the others are the ones to fail.
        for (const auto& [number, name] : table.items())
        {
            const std::string text = name;
            if (text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") == text.npos)
                continue;
            EXPECT_EQ(RunTarnisctl({"explain", text}).exitCode, 0) << text;
        }
    }
    EXPECT_EQ(CountLines(RunTarnisctl({"explain", "--all"}).out), rows);
}

TEST(CommandLine, HelpFitsTheScreen)
{
    const std::tuple<std::string, std::string> verbs[] = {
        {"show", "[OBJECT...]"},     {"get", "PROPERTY...  "},    {"set", "  VALUE  "},
        {"watch", "  --for TIME  "}, {"check", "  --expect N  "}, {"explain", "  NUMBER|NAME  "},
        {"help", "  VERB  "},
    };
    const std::string general = RunTarnisctl({"help"}).out;
    EXPECT_EQ(RunTarnisctl({"-h"}).out, general);
    EXPECT_EQ(RunTarnisctl({"--help"}).out, general);
    EXPECT_LE(CountLines(general), 46U);
    std::string texts = general;
    for (const auto& [verb, argument] : verbs)
    {
        const Outcome outcome = RunTarnisctl({"help", verb});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(RunTarnisctl({verb, "--help"}).out, outcome.out);
        EXPECT_EQ(RunTarnisctl({"-h", verb}).out, outcome.out);
        for (const std::string& text : {"Usage: tarnisctl " + verb, argument,
                                        std::string("\nExamples:\n"), std::string("\n  0  ")})
            EXPECT_TRUE(Holds(outcome.out, text)) << outcome.out;
        EXPECT_TRUE(Holds(general, "\n  " + verb + " "));
        texts += outcome.out;
    }
    std::istringstream lines(texts);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80U) << line;
}

TEST(CommandLine, OutputThatCannotBeWrittenIsAnError)
{
    for (const Stdout kind : {Stdout::Full, Stdout::Limited})
        ExpectComplaint(RunTarnisctl({"get", "--help"}, {}, kind), 3, "standard output");
}

} // namespace
