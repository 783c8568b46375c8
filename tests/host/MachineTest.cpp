// The host with the real plug-in, on machines read from files.
#include "tests/host/Process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace
{

using nlohmann::json;

// ATA keeps the two characters of a word swapped.
void PutText(std::string& page, std::size_t word, std::size_t words, std::string text)
{
    text.resize(words * 2, ' ');
    for (std::size_t i = 0; i < text.size(); ++i)
        page[word * 2 + (i ^ 1)] = text[i];
}

std::string IdentifyPage(const std::string& model, const std::string& serial)
{
    std::string page(512, '\0');
    page[0] = 0x40; // a fixed drive
    PutText(page, 10, 10, serial);
    PutText(page, 23, 4, "FW01");
    PutText(page, 27, 20, model);
    page[217 * 2] = 1; // does not rotate
    return page;
}

std::string MachineFile(const std::string& name = "machine.json")
{
    WriteFile("hostile.bin",
              IdentifyPage(std::string("EV\x1b[31mIL \"DI\xffSK\0\xc2\x9bX", 19), "S\x1b]0;x\x07"));
    return WriteFile(name, R"({
      "version": 1,
      "modules": { "storahci": "10.0.19041.3636" },
      "devices": [
        { "id": "PCI\\VEN_8086&DEV_A352", "service": "storahci", "children": [
          { "id": "SCSI\\DISK&0", "service": "disk", "disks": [0] },
          { "id": "SCSI\\DISK&3", "service": "disk", "disks": [3] } ] } ],
      "disks": [
        { "number": 0, "bytes": 240057409536,
          "identify": {"model": "INTEL SSDSC2BB240G7", "serial": "BTDV7271", "firmware": "N2010101",
                       "rotation": 1, "fixed": true},
          "smart": {"attributes": [{"id": 194, "flags": 34, "value": 70, "worst": 60, "raw": 23}]},
          "partitions": [{"name": "Disk 0 Partition 1", "start": 1048576, "bytes": 240055746560,
                          "index": 1}] },
        { "number": 3, "bytes": 4000787030016, "identify": "hostile.bin",
          "faults": ["smart_data"] } ]
    })");
}

// A machine of solid-state drives that give a temperature and no more.
std::string ManyDrives(int count)
{
    json machine = json::parse(R"({"version": 1, "disks": [], "devices": [
        {"id": "C", "service": "storahci", "children": [
            {"id": "D", "service": "disk", "disks": []}]}]})");
    for (int number = 0; number < count; ++number)
    {
        machine["devices"][0]["children"][0]["disks"].push_back(number);
        machine["disks"].push_back({{"number", number},
                                    {"bytes", 960197124096},
                                    {"identify",
                                     {{"model", "SAMSUNG MZ7LH960HAJR-00005"},
                                      {"serial", "S45NNA0M803162ABCDEF"},
                                      {"rotation", 1}}},
                                    {"smart", {{"attributes", {{{"id", 194}, {"raw", 23}}}}}}});
    }
    return WriteFile("many.json", machine.dump());
}

TEST(Machine, JsonHasTheAgreedShape)
{
    const Outcome outcome = RunTarnisctl({"--json", "--machine", MachineFile()});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    const json objects = json::parse(outcome.out)["objects"];
    ASSERT_EQ(objects.size(), 4U);
    const struct
    {
        const char* id;
        int type;
        json parents;
        json children;
        json operations;
    } expected[] = {
        {"0x0131000000000000", 19006, json::array(), {"0x0131000000000001"}, {50002}},
        {"0x0131000000000001",
         19037,
         {"0x0131000000000000"},
         {"0x0131000000000002", "0x0131000000000003"},
         json::array()},
        {"0x0131000000000002", 19018, {"0x0131000000000001"}, json::array(), json::array()},
        {"0x0131000000000003", 19018, {"0x0131000000000001"}, json::array(), json::array()},
    };
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        const json& object = objects[i];
        EXPECT_EQ(object["id"], expected[i].id);
        EXPECT_EQ(object["type"], expected[i].type);
        EXPECT_EQ(object["parents"], expected[i].parents);
        EXPECT_EQ(object["children"], expected[i].children);
        EXPECT_EQ(object["operations"], expected[i].operations);
        EXPECT_EQ(object["changeCount"], 0);
        for (const json& property : object["properties"])
            for (const char* member :
                 {"id", "name", "value", "text", "unit", "viewMask", "textId", "iconId"})
                EXPECT_TRUE(property.contains(member)) << property;
    }
}

TEST(Machine, GetPrintsTheValueAndNothingElse)
{
    MachineFile();
    const struct
    {
        std::vector<std::string> arguments;
        int exitCode;
        const char* out; // of an error: what is said
    } cases[] = {
        {{"get", "plugin", "VERSION"}, 0, "7.8.1\n"},
        {{"get", "plugin", "30005"}, 0, "30 s\n"},
        {{"get", "adapter", "driver-version"}, 0, "10.0.19041.3636\n"},
        {{"get", "0x0131000000000001", "Status"}, 0, "OK\n"},
        {{"get", "disk0", "temperature"}, 0, "23 °C\n"},
        {{"get", "DISK0", "physical_size"}, 0, "228936 MB (223.6 GB)\n"},
        {{"get", "disk0", "TYPE"}, 0, "SATA\n"},
        {{"get", "disk0", "unique_id"}, 0, "PCI:Bus=0&Device=0&Function=0&ID=0\n"},
        {{"get", "disk3", "powerOn hours"}, 0, "-\n"},
        {{"get", "disk3", "TEMPERATURE"}, 3, "GENERAL (20000)"},
        {{"get", "disk0", "POLL_INTERVAL"}, 3, "GENERAL (20000)"},
        {{"get", "0x77", "NAME"}, 3, "INVALID_OBJECT_ID (20008)"},
        {{"get", "disk1", "NAME"}, 1, "disks: disk0, disk3"},
        {{"get", "disk0", "PROP_TYPE"}, 0, "SATA\n"},
    };
    for (auto c : cases)
    {
        SCOPED_TRACE(c.arguments[1] + " " + c.arguments[2]);
        c.arguments.insert(c.arguments.begin(), {"--machine", "machine.json"});
        const Outcome outcome = RunTarnisctl(c.arguments);
        EXPECT_EQ(outcome.exitCode, c.exitCode) << outcome.err;
        EXPECT_EQ(outcome.out, c.exitCode == 0 ? c.out : "");
        EXPECT_TRUE(c.exitCode == 0 || outcome.err.find(c.out) != std::string::npos) << outcome.err;
    }

    const std::string file = MachineFile();
    const json shown = json::parse(RunTarnisctl({"show", "--json", "--machine", file}).out);
    const json got =
        json::parse(RunTarnisctl({"get", "disk0", "NAME", "--json", "--machine", file}).out);
    EXPECT_EQ(got, shown["objects"][2]["properties"][0]);
}

TEST(Machine, OptionsReachThePlugin)
{
    MachineFile();
    WriteFile("tarnis.ini", "PollInterval=77\n");
    const Outcome outcome =
        RunTarnisctl({"get", "plugin", "--trace-mask", "0x2", "POLL_INTERVAL", "--trace-file",
                      "own.trace", "--machine", "machine.json", "--config-dir", "."},
                     {{"TARNIS_CONFIG_DIR", "/nowhere"}});
    std::filesystem::remove(TestFolder() + "/tarnis.ini");
    EXPECT_EQ(outcome.out, "77 s\n") << outcome.err;
    EXPECT_NE(ReadFile(TestFolder() + "/own.trace").find("ENTER"), std::string::npos);
}

TEST(Machine, HostileDriveStaysText)
{
    const std::string file = MachineFile();
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"show"}, {"get", "disk3", "NAME"}, {"get", "disk3", "30022"}})
    {
        std::vector<std::string> all = arguments;
        all.insert(all.end(), {"--machine", file});
        const Outcome outcome = RunTarnisctl(all);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(outcome.out.find_first_of("\x1b\x07\xff"), std::string::npos) << outcome.out;
        EXPECT_NE(outcome.out.find("\\x1b"), std::string::npos) << outcome.out;
        all.emplace_back("--json");
        EXPECT_TRUE(json::accept(RunTarnisctl(all).out));
    }
}

TEST(Machine, WrongMachineFileIsOneLine)
{
    for (const std::string& file :
         {TestFolder() + "/none.json", WriteFile("broken.json", "{\n  \"version\": 1,\n"),
          WriteFile("later.json", R"({"version": 99})"), WriteFile("void.json", ""), TestFolder()})
    {
        const Outcome outcome = RunTarnisctl({"show", "--machine", file});
        EXPECT_EQ(outcome.exitCode, 1) << file;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(CountLines(outcome.err), 1U) << outcome.err;
        EXPECT_NE(outcome.err.find(file), std::string::npos) << outcome.err;
    }
}

TEST(Machine, EverythingFitsTheTerminal)
{
    const std::string text =
        RunTarnisctl({"--machine", ManyDrives(9)}, {{"NO_COLOR", "1"}}, Stdout::Terminal).out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        const auto inner = [](char c) { return (c & 0xC0) == 0x80 || c == '\r'; };
        EXPECT_LE(line.size() - std::count_if(line.begin(), line.end(), inner), 80) << line;
    }
    // A column that goes makes room for the names; a list goes on in the next line.
    EXPECT_NE(text.find("  SAMSUNG MZ7LH960HAJR-00005  894.3 GB"), text.npos) << text;
    EXPECT_NE(text.find("disk6, disk7 and 1 more\r\n"), text.npos) << text;
}

TEST(Machine, MemoryThatRunsOutIsOneLine)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "skipped: a sanitizer needs more memory than there would be";
#endif
    const std::string file = ManyDrives(1500);
    bool failed = false;
    bool done = false;
    for (std::size_t megabytes = 13; !done; ++megabytes)
    {
        const Outcome outcome =
            RunTarnisctl({"--json", "--machine", file}, {}, Stdout::Pipe, megabytes << 20);
        SCOPED_TRACE(megabytes);
        ASSERT_NE(outcome.exitCode, -1) << outcome.err;
        done = outcome.exitCode == 0;
        failed = failed || outcome.exitCode == 3;
        EXPECT_EQ(done, json::accept(outcome.out));
        const bool isLoaded = outcome.exitCode != 127; // by the system's loader
        EXPECT_EQ(outcome.err.find("tarnisctl: ") != std::string::npos, isLoaded && !done);
    }
    EXPECT_TRUE(failed);
}

TEST(Machine, NoSupportedControllerIsExitCodeTwo)
{
    const std::string file =
        WriteFile("other.json", R"({"version": 1, "devices": [{"id": "A", "service": "nvme"}]})");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--json", "--machine", file}, {"--json"}})
    {
        const Outcome outcome = RunTarnisctl(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err.find("NO_SUPPORTED_HARDWARE (20001)"), std::string::npos);
        EXPECT_EQ(outcome.err.find("--machine FILE") != std::string::npos, arguments.size() == 1);
    }
}

} // namespace
