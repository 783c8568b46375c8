// What can be asked without a plug-in, and what is refused before one is loaded.
#include "tests/host/Process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <tuple>

namespace
{

using nlohmann::json;

TEST(CommandLine, WhatCannotBeDoneIsToldInOneLine)
{
    const std::string empty = testFolder.Write("empty.json", R"({"version": 1})");
    const std::string broken = testFolder.Write("broken.json", "{\n  \"version\": 1,\n");
    const std::string text = testFolder.Write("text.so", "no library");
    const std::tuple<Arguments, int, std::string> cases[] = {
        {{"shwo"}, 1, "show, get, set, watch and explain"},
        {{"watch", "--for", "0"}, 1, "--for"},
        {{"watch", "--for", "4294967296"}, 1, "--for"},
        {{"set", "plugin"}, 1, "PROPERTY"},
        {{"show", "disk0"}, 1, "'disk0' is not understood"},
        {{"get", "disk", "NAME"}, 1, "'disk' is no object"},
        {{"get", "disk0", "temprature"}, 1, "did you mean TEMPERATURE"},
        {{"get", "disk0", "99999999999"}, 1, "out of range"},
        {{"--machine"}, 1, "--machine"},
        {{"--plugin", ""}, 1, "--plugin"},
        {{"--trace-mask", "0x1ffffffff"}, 1, "--trace-mask"},
        {{"explain"}, 1, "--all"},
        {{"explain", "--all", "20001"}, 1, "one of them"},
        {{"explain", "_"}, 1, "no table of the vocabulary has '_'\n"},
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
        {{"--machine", empty, "--json"}, 2, "NO_SUPPORTED_HARDWARE (20001)"},
        {{"--json"}, 2, "--machine FILE"},
    };
    for (const auto& [arguments, exitCode, said] : cases)
        ExpectComplaint(RunTarnisctl(arguments), exitCode, said);
}

TEST(CommandLine, ExplainTellsEveryMatch)
{
    const std::pair<Arguments, std::string> cases[] = {
        {{"explain", "20001"}, "errors      20001  NO_SUPPORTED_HARDWARE\n"},
        {{"explain", "err_general"}, "errors      20000  GENERAL\n"},
        {{"explain", "VAL_AVAILABLE"},
         "values      40099  AVAILABLE\n            the drive answers, has no partition, and "
         "reaches "
         "no limit\n"},
        {{"explain", "param-bus"}, "properties  35016  BUS\n"},
        {{"explain", "PROP_TYPE"}, "properties  30056  TYPE\n"},
        {{"explain", "2147483647"}, "properties  2147483647  UNSPECIFIED\n"},
        {{"explain", "type"}, "properties  30056  TYPE\nproperties  35044  TYPE\n"},
        {{"explain", "1", "--json"},
         R"({"errors":{},"events":{"1":"UNDEFINED"},"operations":{"1":"UNDEFINED"},)"
         R"("properties":{"1":"UNDEFINED"},"values":{"1":"UNDEFINED"}})"},
        {{"--version"}, "tarnisctl 7.8.1\n"},
    };
    for (const auto& [arguments, printed] : cases)
    {
        const Outcome outcome = RunTarnisctl(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "") << arguments.back();
        const bool isJson = arguments.back() == "--json";
        EXPECT_EQ(isJson ? json::parse(outcome.out).dump() : outcome.out, printed);
    }

    const json whole = json::parse(RunTarnisctl({"--json", "explain", "--all"}).out);
    EXPECT_EQ(whole["errors"]["0"], "SUCCESS");
    std::size_t rows = 0;
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

TEST(CommandLine, OutputThatCannotBeWrittenIsAnError)
{
    for (const Stdout kind : {Stdout::Full, Stdout::Closed, Stdout::Limited})
        ExpectComplaint(RunTarnisctl({"get", "--help"}, {}, kind), 3, "standard output");
}

} // namespace
