// What people see: on terminals of every width, in other locales, and through pipes that break.
#include "tests/host/Process.h"
#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <regex>
#include <set>
#include <span>
#include <sstream>
#include <tuple>

#include <wchar.h>

namespace
{

using nlohmann::json;

const std::string sample = TARNIS_SOURCE_DIR "/samples/workstation/machine.json";

/// A model of a drive, and how it is shown without its blanks, in UTF-8 and in ASCII.
struct Model
{
    std::string bytes;
    std::string shown;
    std::string ascii;
};

// The first one belongs to a family, so that its drive can fail.
const Model models[] = {
    {"ST35004日\u009b\u202e本-e\u0301語 QRSTUVWXYZ0123",
     "SEAGATEST35004日\\u009b\\u202e本-e\u0301語QRSTUVWXYZ0123",
     "SEAGATEST35004\\u65e5\\u009b\\u202e\\u672c-e\\u0301\\u8a9eQRSTUVWXYZ0123"},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789ABCD", "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789ABCD",
     "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789ABCD"},
    {"日本製ディスク東京大阪名古", "日本製ディスク東京大阪名古",
     "\\u65e5\\u672c\\u88fd\\u30c7\\u30a3\\u30b9\\u30af\\u6771\\u4eac\\u5927\\u962a\\u540d\\u53e4"},
    {"é\u200fB\u2066C\U0001f600\U0001f600\U0001f600 n\u0303o\u0308",
     "é\\u200fB\\u2066C\U0001f600\U0001f600\U0001f600n\u0303o\u0308",
     "\\u00e9\\u200fB\\u2066C\\U0001f600\\U0001f600\\U0001f600n\\u0303o\\u0308"},
};

std::string HostileMachine()
{
    std::vector<json> disks;
    for (const Model& model : models)
    {
        json& disk = disks.emplace_back(Support::Disk(static_cast<std::uint32_t>(disks.size())));
        disk["identify"] = Support::Identity(model.bytes, "S\u009b\u202eé日本語XY");
        disk["smart"] =
            Support::SmartPage({{5, 1, 281474976710655}, {9, 100, 8000}, {194, 77, 23}});
    }
    disks[0]["identify"]["rotation"] = 7200;
    disks.push_back(Support::Disk(2147483647));
    disks.back()["faults"] = {"identify"};
    return testFolder.Write("hostile.json", Support::MachineWith(disks).dump());
}

std::vector<std::string> ModelsOfSample()
{
    const json shown = json::parse(RunTarnisctl({"--json", "--machine", sample}).out);
    std::vector<std::string> result;
    for (const json& object : shown["objects"])
    {
        std::string model;
        for (const char* name : {"VENDOR", "PRODUCT"})
            for (const json& property : object["properties"])
                if (object["type"] == 19018 && property["name"] == name)
                    model += property["value"];
        std::erase(model, ' ');
        if (!model.empty())
            result.push_back(model);
    }
    return result;
}

std::wstring Wide(const std::string& text)
{
    static const bool isSet = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
    std::wstring wide(text.size(), L'\0');
    const std::size_t length = std::mbstowcs(wide.data(), text.c_str(), text.size());
    EXPECT_TRUE(isSet && length <= text.size()) << "no UTF-8: " << text;
    wide.resize(std::min(length, text.size()));
    return wide;
}

/// As the C library counts columns; a control character takes more than there are.
std::size_t WidthOf(const std::string& line)
{
    std::size_t width = 0;
    for (const wchar_t c : Wide(line))
        width += ::wcwidth(c) < 0 ? 1000 : static_cast<std::size_t>(::wcwidth(c));
    return width;
}

std::vector<std::string> LinesOf(const std::string& text)
{
    const std::string plain = std::regex_replace(text, std::regex("\x1b\\[[0-9;]*m|\r"), "");
    std::istringstream stream(plain);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

bool IsAscii(const std::string& text)
{
    return std::ranges::all_of(text, [](char c) { return (c & 0x80) == 0; });
}

/// The table of drives as it is read off a terminal.
class ShownTable
{
  public:
    explicit ShownTable(const std::vector<std::string>& lines)
    {
        auto line = std::ranges::find_if(lines, [](const std::string& text)
                                         { return text.starts_with("   DISK "); });
        if (line == lines.end())
            return;
        const std::size_t model = line->find("MODEL");
        AddTitles(*line, std::regex(" {2,}"));
        for (++line; line != lines.end() && !line->empty() && !Holds(*line, "(no room"); ++line)
            AddModel(*line, model);
        std::string gone;
        for (; line != lines.end() && !line->empty(); ++line)
            gone += ' ' + *line;
        gone = std::regex_replace(gone, std::regex("^ *\\(no room for |; *--wide.*"), "");
        AddTitles(gone, std::regex(", +"));
    }

    std::set<std::string> titles;    ///< those that are named below the table, too
    std::vector<std::string> models; ///< without blanks

  private:
    void AddTitles(const std::string& text, const std::regex& separator)
    {
        std::sregex_token_iterator title(text.begin(), text.end(), separator, -1);
        for (; title != std::sregex_token_iterator(); ++title)
            if (const std::string name = std::regex_replace(title->str(), std::regex(" +"), " ");
                !name.empty())
                titles.insert(name);
    }

    /// @param line  begins with the cells of a drive, or holds what is left of its model
    void AddModel(const std::string& line, std::size_t column)
    {
        std::size_t at = 0; // the byte in that column
        while (at < line.size() && WidthOf(line.substr(0, at)) < column)
            ++at;
        if (line.substr(0, at).find_first_not_of(" !") != std::string::npos)
            models.emplace_back();
        const std::size_t begin = std::min(line.find_first_not_of(' ', at), line.size());
        std::string cell = line.substr(begin, line.find("  ", begin) - begin);
        std::erase(cell, ' ');
        if (!models.empty())
            models.back() += cell;
    }
};

/// A machine with the models of its drives by whether the output is ASCII.
struct Machine
{
    std::string file;
    std::vector<std::string> models[2];
    std::set<std::string> titles; ///< of its table where there is room for all
};

std::vector<Machine> Machines()
{
    std::vector<Machine> machines{{sample, {ModelsOfSample(), ModelsOfSample()}, {}},
                                  {HostileMachine(), {}, {}}};
    for (const Model& model : models)
    {
        machines[1].models[0].push_back(model.shown);
        machines[1].models[1].push_back(model.ascii);
    }
    for (auto& shown : machines[1].models)
        shown.emplace_back("-"); // the silent one
    for (Machine& machine : machines)
        machine.titles =
            ShownTable(LinesOf(RunTarnisctl({"show", "--wide", "--machine", machine.file}).out))
                .titles;
    return machines;
}

void ExpectWhole(const Machine& machine, bool isAscii, unsigned short columns)
{
    const Arguments verbs[] = {
        {"show", "--all"},
        {"show", "disk0", "disk3"},
        {"show", "-o", "disk,model,serial", "--no-header"},
        {"get", "disk0", "NAME", "SERIAL_NUMBER", "UNIQUE_ID"},
        {"explain", "NO_SUPPORTED_HARDWARE"},
    };
    for (const Arguments& verb : std::span(verbs).first(isAscii ? 1 : std::size(verbs)))
    {
        Arguments arguments{"--machine", machine.file, "--color", isAscii ? "never" : "always"};
        arguments.insert(arguments.end(), verb.begin(), verb.end());
        const Outcome outcome = RunTarnisctl(arguments, {{"LC_ALL", isAscii ? "C" : "C.UTF-8"}},
                                             Stdout::Terminal, RLIM_INFINITY, columns);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_TRUE(!isAscii || IsAscii(outcome.out)) << outcome.out;
        const std::vector<std::string> lines = LinesOf(outcome.out);
        for (const std::string& line : lines)
            EXPECT_LE(WidthOf(line), std::max<std::size_t>(columns, 40)) << verb[1] << line;
        if (verb[1] != "--all")
            continue;
        const ShownTable table(lines);
        EXPECT_EQ(table.models, machine.models[isAscii]) << outcome.out;
        EXPECT_EQ(table.titles, machine.titles) << outcome.out;
    }
}

TEST(Output, EveryLineFitsTheTerminalAndNothingIsLost)
{
    for (const Machine& machine : Machines())
    {
        EXPECT_GE(machine.titles.size(), 8U);
        for (const unsigned short columns :
             std::vector<unsigned short>{20, 40, 50, 60, 70, 80, 100, 132, 200})
            for (const bool isAscii : {false, true})
            {
                SCOPED_TRACE(machine.file + ' ' + std::to_string(columns) + (isAscii ? " C" : ""));
                ExpectWhole(machine, isAscii, columns);
            }
    }
}

TEST(Output, APipeGetsWholeLinesAndTheColumnsThatAreAskedFor)
{
    const auto printed = [](Arguments arguments)
    {
        arguments.insert(arguments.end(), {"--machine", sample});
        return RunTarnisctl(arguments).out;
    };
    EXPECT_EQ(printed({"show"}), printed({"show", "--wide"}));
    EXPECT_FALSE(Holds(printed({"show"}), "no room"));
    EXPECT_EQ(printed({"show", "-o", "DISK, Lasts-Until", "--sort", "LASTS UNTIL"}),
              printed({"show", "-o", "disk,lasts", "--sort", "lasts"}));
    const std::pair<std::string, std::string> cases[] = {
        {"disk0", "Estimated lifetime        over 10 years (20"},
        {"disk7", "Reason                    endurance used 99 %"},
        {"disk7", "Note                      267 of 140 TB rated writes\n"},
        {"disk7", "Bytes written             267 TB\n"},
        {"disk9", "Not judged                it gives no SMART page\n"},
        {"disk14",
         "Warning                   740 of 600 TB rated writes, by its own count endurance "
         "used 57 % (attribute 233)\n"},
    };
    for (const auto& [disk, line] : cases)
        EXPECT_TRUE(Holds(printed({"show", disk}), line)) << printed({"show", disk});
}

TEST(Output, TheLocaleSaysWhetherItIsAscii)
{
    const std::pair<Environment, bool> cases[] = {
        {{{"LC_ALL", "C"}}, true},
        {{{"LC_ALL", "POSIX"}, {"LANG", "C.UTF-8"}}, true},
        {{{"LC_ALL", "xx_XX.UTF-8"}}, true}, // not installed
        {{{"LC_ALL", ""}}, true},
        {{{"LC_ALL", ""}, {"LANG", "C.UTF-8"}}, false},
        {{{"LC_ALL", ""}, {"LC_CTYPE", "C.UTF-8"}, {"LANG", "C"}}, false},
        {{{"LC_ALL", ""}, {"LC_CTYPE", "C"}, {"LANG", "C.UTF-8"}}, true},
    };
    const std::string machine = HostileMachine();
    for (const auto& [environment, isAscii] : cases)
    {
        const Outcome outcome =
            RunTarnisctl({"get", "disk1", "TEMPERATURE", "--machine", machine}, environment);
        EXPECT_EQ(outcome.out, isAscii ? "23 C\n" : "23 °C\n") << environment[0].second;
    }
    const auto jsonIn = [&](const char* locale)
    {
        const Arguments arguments{"get",    "disk1",     "NAME", "TEMPERATURE",
                                  "--json", "--machine", machine};
        return RunTarnisctl(arguments, {{"LC_ALL", locale}}).out;
    };
    EXPECT_EQ(jsonIn("C"), jsonIn("C.UTF-8"));
}

TEST(Output, NothingSteersTheTerminal)
{
    const std::string evil = "\u009b\u202e\u2066é";
    const std::string path = testFolder.File(evil);
    const std::string hostile = HostileMachine();
    const Arguments cases[] = {
        {"check", evil},
        {"--trace-mask", "0xffffffff"},
        {"--trace-mask", "0xffffffff", "--trace-file", path + "/trace"},
        {"--trace-mask", evil},
        {"--plugin", path},
        {"--machine", path},
        {"--database", "/proc/" + evil},
        {"--color", evil},
        {"--" + evil},
        {evil},
        {"show", evil},
        {"show", "-o", evil},
        {"get", "disk1", evil},
        {"set", "plugin", "POLL_INTERVAL", evil},
        {"explain", evil},
        {"help", evil},
        {"watch", "--for", evil},
    };
    // Signs of the two locales, and what must be in neither.
    const std::pair<const char*, const char*> locales[] = {{"C", "\\u00e9"}, {"C.UTF-8", "é"}};
    for (const Arguments& words : cases)
        for (const auto& [locale, sign] : locales)
        {
            Arguments arguments = words;
            if (arguments[0] != "--machine")
                arguments.insert(arguments.begin(), {"--machine", hostile});
            const Outcome outcome = RunTarnisctl(arguments, {{"LC_ALL", locale}});
            const std::string text = outcome.out + outcome.err;
            SCOPED_TRACE(words[0] + words.back() + locale);
            EXPECT_NE(outcome.exitCode, -1);
            EXPECT_TRUE(Holds(text, "\\u009b\\u202e")) << text;
            EXPECT_TRUE(Holds(text, sign)) << text;
            EXPECT_TRUE(*sign != '\\' || IsAscii(text)) << text;
            for (const char* raw : {"\u009b", "\u202e", "\u2066", "\u200f", "\x1b"})
                EXPECT_FALSE(Holds(text, raw)) << text;
        }
}

TEST(Output, AReaderThatLeavesIsNoFailure)
{
    const std::pair<Arguments, int> cases[] = {
        {{"show"}, 0},
        {{"show", "--json"}, 0},
        {{"show", "--all", "--color", "always"}, 0},
        {{"get", "disk0", "NAME", "STATUS"}, 0},
        {{"explain", "--all"}, 0},
        {{"explain", "--all", "--json"}, 0},
        {{"help"}, 0},
        {{"set", "plugin", "POLL_INTERVAL", "30"}, 0},
        {{"watch", "--json"}, 0}, // and ends then
        {{"check"}, 2},           // which is known all the same
    };
    for (const auto& [words, exitCode] : cases)
        for (const Stdout kind : {Stdout::Closed, Stdout::Leaving})
        {
            Arguments arguments = words;
            arguments.insert(arguments.end(), {"--machine", sample});
            if (words[0] == "watch" && kind == Stdout::Leaving)
                arguments.erase(arguments.begin() + 1); // its first line comes at once
            const Outcome outcome = RunTarnisctl(arguments, {}, kind);
            EXPECT_EQ(outcome.exitCode, exitCode) << words[0];
            EXPECT_EQ(outcome.out.empty(), kind == Stdout::Closed) << words[0];
            EXPECT_EQ(std::regex_replace(outcome.err, std::regex("watching .*\n"), ""), "");
        }
}

} // namespace
