// What can be asked without a plug-in, and what is refused before one is loaded.
#include "tests/host/Process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace
{

using nlohmann::json;

TEST(CommandLine, WrongUsageIsOneLineAndExitCodeOne)
{
    const struct
    {
        std::vector<std::string> arguments;
        const char* said;
    } cases[] = {
        {{"shwo"}, "show, get, set, watch and explain"},
        {{"watch", "--for", "soon"}, "--for"},
        {{"set", "plugin"}, "PROPERTY"},
        {{"--bogus"}, "--bogus"},
        {{"show", "disk0"}, "'disk0' is not understood"},
        {{"get"}, "OBJECT"},
        {{"get", "disk0"}, "PROPERTY"},
        {{"get", "disk", "NAME"}, "'disk' is no object"},
        {{"get", "disk0x", "NAME"}, "'disk0x' is no object"},
        {{"get", "0x1g", "NAME"}, "'0x1g' is no object"},
        {{"get", "disk0", "temprature"}, "did you mean TEMPERATURE"},
        {{"get", "disk0", "99999999999"}, "out of range"},
        {{"--machine"}, "--machine"},
        {{"--plugin", ""}, "--plugin"},
        {{"--trace-mask", "0x1ffffffff"}, "--trace-mask"},
        {{"show", "--trace-mask", "12z"}, "--trace-mask"},
        {{"explain"}, "--all"},
        {{"explain", "--all", "20001"}, "one of them"},
        {{"explain", "99999"}, "99999"},
        {{"explain", "_"}, "no table of the vocabulary has '_'\n"},
        {{"explain", "VAL_"}, "'VAL_'"},
        {{"explain", "PROP_BUS"}, "'PROP_BUS'"},
        {{"explain", "INVALID_COMAND"}, "did you mean INVALID_COMMAND"},
        {{"explain", "\x1b[31m\xff"}, "\\x1b[31m\\xff"},
    };
    for (const auto& c : cases)
    {
        const Outcome outcome = RunTarnisctl(c.arguments);
        SCOPED_TRACE(c.arguments.back());
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(CountLines(outcome.err), 1U) << outcome.err;
        EXPECT_EQ(outcome.err.rfind("tarnisctl: ", 0), 0U);
        EXPECT_NE(outcome.err.find(c.said), std::string::npos) << outcome.err;
    }
}

TEST(CommandLine, ExplainTellsEveryMatch)
{
    const struct
    {
        std::vector<std::string> arguments;
        std::string printed;
    } cases[] = {
        {{"explain", "20001"}, "errors      20001  NO_SUPPORTED_HARDWARE\n"},
        {{"explain", "0x4e21"}, "errors      20001  NO_SUPPORTED_HARDWARE\n"},
        {{"explain", "err_general"}, "errors      20000  GENERAL\n"},
        {{"explain", "VAL_AVAILABLE_SMART"}, "values      40180  AVAILABLE_SMART\n"},
        {{"explain", "param-bus"}, "properties  35016  BUS\n"},
        {{"explain", "PROP_TYPE"}, "properties  30056  TYPE\n"},
        {{"explain", "2147483647"}, "properties  2147483647  UNSPECIFIED\n"},
        {{"explain", "type"}, "properties  30056  TYPE\nproperties  35044  TYPE\n"},
        {{"explain", "1", "--json"},
         R"({"errors":{},"events":{"1":"UNDEFINED"},"operations":{"1":"UNDEFINED"},)"
         R"("properties":{"1":"UNDEFINED"},"values":{"1":"UNDEFINED"}})"},
        {{"--version"}, "tarnisctl 7.8.1\n"},
        {{"show", "--version"}, "tarnisctl 7.8.1\n"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.arguments.back());
        const Outcome outcome = RunTarnisctl(c.arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        const bool isJson = c.arguments.back() == "--json";
        EXPECT_EQ(isJson ? json::parse(outcome.out).dump() : outcome.out, c.printed);
    }

    const json whole = json::parse(RunTarnisctl({"--json", "explain", "--all"}).out);
    EXPECT_EQ(whole.size(), 5U);
    EXPECT_EQ(whole["errors"]["0"], "SUCCESS");
    EXPECT_EQ(whole["operations"]["50002"], "GET_EVENTS");
    EXPECT_EQ(whole["events"]["10920"], "PNPADD_EX");
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
    {
        const Outcome outcome = RunTarnisctl({"get", "--help"}, {}, kind);
        EXPECT_EQ(outcome.exitCode, 3);
        EXPECT_EQ(CountLines(outcome.err), 1U) << outcome.err;
    }
}

} // namespace
