// The host with the real plug-in, on machines read from files.
#include "tests/host/Process.h"
#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <tuple>

namespace
{

using nlohmann::json;

/// A drive in order, and one that fails to give its SMART page and whose texts are hostile.
std::string MachineFile()
{
    std::string page(512, '\0');
    page[0] = 0x40; // a fixed drive
    // The two characters of a word are swapped.
    page.replace(20, 8, "\x1bS0]x;\x07 ");
    page.replace(54, 12, "VELI\xff\x1b[D\x9b\xc2SK");
    testFolder.Write("hostile.bin", page);
    json machine = Support::MachineWith({Support::Disk(0), Support::Disk(3)});
    machine["disks"][1]["identify"] = "hostile.bin";
    machine["disks"][1]["faults"] = json::array({"smart_data"});
    return testFolder.Write("machine.json", machine.dump());
}

/// A machine of solid-state drives whose pages have one attribute; a small file, so that memory
/// runs out behind the reading of it.
std::string ManyDrives(int count, const char* attribute)
{
    json machine = Support::MachineWith({});
    json& node = machine["devices"][0]["children"][0] = Support::DiskNode(0);
    json drive = json::parse(R"({"bytes": 960197124096,
        "identify": {"model": "SAMSUNG MZ7LH960HAJR-00005", "serial": "S45NNA0M803162ABCDEF",
                     "rotation": 1}})");
    drive["smart"]["attributes"] = {json::parse(attribute)};
    for (int number = 0; number < count; ++number)
    {
        node["disks"][static_cast<std::size_t>(number)] = drive["number"] = number;
        machine["disks"].push_back(drive);
    }
    return testFolder.Write("many.json", machine.dump());
}

TEST(Machine, JsonHasTheAgreedShape)
{
    const Arguments common{"--json", "--machine", MachineFile()};
    const Outcome outcome = RunTarnisctl(common);
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    json objects = json::parse(outcome.out)["objects"];
    Arguments one{"get", "disk0", "NAME"};
    one.insert(one.end(), common.begin(), common.end());
    json property = json::parse(RunTarnisctl(one).out);
    EXPECT_EQ(property["schemaVersion"], 1);
    property.erase("schemaVersion");
    EXPECT_EQ(property, objects[2]["properties"][0]);
    for (json& object : objects)
        for (const char* member : {"properties", "drive"})
            object.erase(member);
    EXPECT_EQ(objects, json::parse(R"([
        {"id": "0x0131000000000000", "label": "plugin", "device": null,
         "type": 19006, "typeName": "PLUGIN", "changeCount": 0, "operations": [50002],
         "parents": [], "children": ["0x0131000000000001"]},
        {"id": "0x0131000000000001", "label": "adapter", "device": null,
         "type": 19037, "typeName": "ADAPTER", "changeCount": 0, "operations": [],
         "parents": ["0x0131000000000000"],
         "children": ["0x0131000000000002", "0x0131000000000003"]},
        {"id": "0x0131000000000002", "label": "disk0", "device": null,
         "type": 19018, "typeName": "PHYSICAL_DRIVE", "changeCount": 0, "operations": [],
         "parents": ["0x0131000000000001"], "children": []},
        {"id": "0x0131000000000003", "label": "disk3", "device": null,
         "type": 19018, "typeName": "PHYSICAL_DRIVE", "changeCount": 0, "operations": [],
         "parents": ["0x0131000000000001"], "children": []}])"));
}

TEST(Machine, GetAndSetPrintTheValueAndNothingElse)
{
    MachineFile();
    testFolder.Write("tarnis.ini", "# mine\nPollInterval=40\n");
    const std::tuple<Arguments, int, std::string> cases[] = {
        {{"get", "plugin", "30005"}, 0, "40 s\n"},
        {{"get", "adapter", "driver-version"}, 0, "10.0.19041.3636\n"},
        {{"get", "0x0131000000000001", "Status"}, 0, "OK\n"},
        {{"get", "disk0", "temperature"}, 0, "23 °C\n"},
        {{"get", "DISK0", "physical_size"}, 0, "228936 MB (223.6 GB)\n"},
        {{"get", "disk0", "PROP_TYPE"}, 0, "SATA\n"},
        {{"get", "disk0", "unique_id"}, 0, "PCI:Bus=0&Device=0&Function=0&ID=0\n"},
        {{"get", "disk3", "powerOn hours"}, 0, "-\n"},
        {{"get", "disk3", "Power-on hours"}, 0, "-\n"},
        {{"get", "disk3", "PROP_POWER_ON_HOURS"}, 0, "-\n"},
        {{"get", "disk0", "serialnumber"}, 0, "SERIAL0\n"},
        {{"get", "disk3", "NAME"}, 0, " EVIL\\x1b\\xffD[\\u009bKS (3)\n"},
        {{"get", "disk3", "30022"}, 0, "S\\x1b]0;x \\x07\n"},
        {{"get", "disk3", "TEMPERATURE"}, 3, "GENERAL (20000)"},
        {{"get", "0x77", "NAME"}, 3, "INVALID_OBJECT_ID (20008)"},
        {{"get", "disk1", "NAME"}, 1, "disks: disk0, disk3"},
        {{"set", "plugin", "POLL_INTERVAL", "5"}, 0, "5 s\n"},
        {{"set", "plugin", "poll-interval", "255"}, 0, "255 s\n"},
        {{"set", "plugin", "POLL_INTERVAL", "256"}, 1, "from 2 to 255, not '256'"},
        {{"set", "plugin", "Poll interval", "255"}, 0, "255 s\n"},
        {{"set", "plugin", "NAME", "x"},
         3,
         "NAME of plugin can be read but not set; of plugin can be set: POLL_INTERVAL\n"},
        {{"set", "disk0", "remaining-reserve-space", "x"}, 3, "nothing of disk0 can be set\n"},
        {{"set", "disk0", "poll interval", "5"}, 3, "disk0 has no POLL_INTERVAL; nothing of"},
        {{"set", "disk9", "NAME", "x"}, 1, "there is no disk9"},
        {{"set", "0x99", "NAME", "x"}, 3, "INVALID_OBJECT_ID (20008)"},
        {{"--config-dir", "/proc/no", "set", "plugin", "POLL_INTERVAL", "5"},
         3,
         "WRITE_ACCESS_DENIED (20018)"},
    };
    for (auto [arguments, exitCode, text] : cases)
    {
        SCOPED_TRACE(arguments[1] + " " + arguments[2]);
        arguments.insert(arguments.begin(), {"--machine", "machine.json"});
        const Outcome outcome = RunTarnisctl(arguments);
        if (exitCode != 0)
            ExpectComplaint(outcome, exitCode, text);
        else
            EXPECT_EQ(outcome.out, text) << outcome.err;
    }
    EXPECT_EQ(testFolder.Read("tarnis.ini"), "# mine\nPollInterval=255\n");
}

TEST(Machine, DisksAreInOrderAndNumbersComplete)
{
    json machine = Support::MachineWith({Support::Disk(10), Support::Disk(2), Support::Disk(1)});
    machine["disks"][2]["smart"] = Support::SmartPage({{9, 100, 17544}, {194, 77, 23}});
    machine["disks"][1]["smart"] = Support::SmartPage({{9, 100, 17543}});
    machine["disks"][0]["smart"] = Support::SmartPage({{9, 100, 47}});
    const std::string file = testFolder.Write("order.json", machine.dump());
    const json shown = json::parse(RunTarnisctl({"--machine", file, "--json"}).out);
    std::vector<std::string> labels;
    for (const json& object : shown["objects"])
        labels.push_back(object["label"]);
    EXPECT_EQ(labels, (std::vector<std::string>{"plugin", "adapter", "disk1", "disk2", "disk10"}));
    std::vector<json> children;
    for (std::size_t i = 2; i < 5; ++i)
        children.push_back(shown["objects"][i]["id"]);
    EXPECT_EQ(shown["objects"][1]["children"], json(children));

    const Outcome outcome =
        RunTarnisctl({"get", "plugin", "POLL_INTERVAL", "--machine", file, "--json"});
    const json interval = json::parse(outcome.out);
    EXPECT_EQ(interval["minimum"], 2);
    EXPECT_EQ(interval["maximum"], 255);
    EXPECT_EQ(interval["step"], 1);
    for (const auto& [disk, hours] : {std::pair{"disk1", "17544 h (2 years)"},
                                      {"disk2", "17543 h (730 days)"},
                                      {"disk10", "47 h\n"}})
        EXPECT_TRUE(Holds(RunTarnisctl({"show", disk, "--machine", file}).out, hours)) << disk;
}

TEST(Machine, SeveralValuesAreLinesAndWhatFailsIsTold)
{
    const std::tuple<Arguments, int, std::string, std::string> cases[] = {
        {{"disk0", "STATUS", "30069", "Media type"},
         0,
         "STATUS: OPERATIONAL\nTEMPERATURE: 23 °C\nMEDIA_TYPE: SSD\n",
         ""},
        {{"disk3", "temperature", "power-on hours", "poll interval", "Port number"},
         3,
         "POWERON_HOURS: -\nPORT_NUMBER: 0\n",
         "tarnisctl: disk3 gives no TEMPERATURE: GENERAL (20000)\n"
         "tarnisctl: disk3 gives no POLL_INTERVAL: GENERAL (20000)\n"},
    };
    for (auto [arguments, exitCode, printed, complaints] : cases)
    {
        arguments.insert(arguments.begin(), {"get", "--machine", MachineFile()});
        const Outcome outcome = RunTarnisctl(arguments);
        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_EQ(outcome.out, printed);
        EXPECT_EQ(outcome.err, complaints);

        arguments.emplace_back("--json");
        std::string lines;
        for (const json& value : json::parse(RunTarnisctl(arguments).out))
            lines += std::string(value["name"]) + ": " + std::string(value["text"]) + "\n";
        EXPECT_EQ(lines, printed);
    }
}

TEST(Machine, WhatManyDrivesShareIsToldOnce)
{
    const char* attribute = R"({"id": 194, "raw": 23})";
    const std::pair<int, std::string> cases[] = {
        {257, "\n   Note, disk256: judged by the SMART page of disk0 or its own"},
        {266,
         "\n   Note, disk256, disk257, disk258, disk259, disk260, disk261, disk262, disk263 and 2 "
         "more: judged by the SMART page of another drive or its own"},
    };
    for (const auto& [count, note] : cases)
    {
        const std::string file = ManyDrives(count, attribute);
        const std::string text = RunTarnisctl({"show", "--machine", file}).out;
        EXPECT_TRUE(Holds(text, note)) << text.substr(0, 1000);
        EXPECT_EQ(text.find("Note,"), text.rfind("Note,"));
    }
    const std::string file = ManyDrives(2, attribute);
    ExpectComplaint(RunTarnisctl({"get", "s45nna0m803162abcdef", "NAME", "--machine", file}), 1,
                    "2 drives have the serial number s45nna0m803162abcdef: disk0, disk1;");
    const std::string id = "0x0131000000000002";
    EXPECT_EQ(RunTarnisctl({"show", "disk0", id, "DISK0", "--machine", file}).out,
              RunTarnisctl({"show", "disk0", "--machine", file}).out);
}

TEST(Machine, WhatIsShownHasAMeaning)
{
    const json all = json::parse(RunTarnisctl({"explain", "--all", "--json"}).out);
    const auto expectMeaning = [&](const char* table, const json& number)
    {
        const bool isThere = all["meaning"][table].contains(number.dump());
        EXPECT_TRUE(isThere && all[table].contains(number.dump())) << table << number;
    };
    const json shown = json::parse(RunTarnisctl({"--json", "--machine", MachineFile()}).out);
    EXPECT_GT(shown["objects"].size(), 2U);
    for (const json& object : shown["objects"])
    {
        expectMeaning("objectTypes", object["type"]);
        for (const json& operation : object["operations"])
            expectMeaning("operations", operation);
        for (const json& property : object["properties"])
        {
            expectMeaning("properties", property["id"]);
            expectMeaning("units", property["unit"]);
            if (property["aliasId"] != 0)
                expectMeaning("properties", property["aliasId"]);
            const std::uint32_t mask = property["viewMask"];
            for (std::uint32_t bit = 1; bit != 0; bit <<= 1)
                if (mask != 0xFFFFFFFF && (mask & bit) != 0)
                    expectMeaning("views", bit);
            if (!property.contains("choices"))
                continue;
            expectMeaning("values", property["value"]);
            for (const json& choice : property["choices"])
                expectMeaning("values", choice["value"]);
        }
    }
    // What no machine shows at once.
    for (const int event : {10045, 10920, 11090, 11091})
        expectMeaning("events", event);
    for (const int code :
         {0, 20000, 20001, 20002, 20004, 20005, 20006, 20007, 20008, 20010, 20011, 20014, 20018})
        expectMeaning("errors", code);
    for (const int unit : {21001, 21003, 21004})
        expectMeaning("units", unit);
    for (const std::uint32_t mask : {0U, 0xFFFFFFFFU})
        expectMeaning("views", mask);
}

TEST(Machine, OptionsReachThePlugin)
{
    MachineFile();
    testFolder.Write("tarnis.ini", "PollInterval=77\n");
    const Outcome outcome =
        RunTarnisctl({"get", "plugin", "--trace-mask", "0x2", "POLL_INTERVAL", "--trace-file",
                      "own.trace", "--machine", "machine.json", "--config-dir", "."},
                     {{"TARNIS_CONFIG_DIR", "/nowhere"}});
    EXPECT_EQ(outcome.out, "77 s\n") << outcome.err;
    EXPECT_TRUE(Holds(testFolder.Read("own.trace"), "ENTER"));
    // The plug-in's own line at its start is for whoever traces.
    EXPECT_EQ(outcome.err, "tarnis:  Initialize:  adapter count is 1\n");
    EXPECT_EQ(RunTarnisctl({"--trace-mask", "0", "--machine", "machine.json"}).err, "");
}

TEST(Machine, ANarrowTerminalShowsNamesWholeAndListsCut)
{
    const std::string text = RunTarnisctl({"--machine", ManyDrives(9, R"({"id": 194, "raw": 23})")},
                                          {{"NO_COLOR", "1"}}, Stdout::Terminal)
                                 .out;
    // A column that goes makes room for the names; a list goes on in the next line.
    EXPECT_TRUE(Holds(text, "  SAMSUNG MZ7LH960HAJR-00005  960 GB")) << text;
    EXPECT_TRUE(Holds(text, "(no room for SERIAL; --wide shows all)")) << text;
    EXPECT_TRUE(Holds(text, "disk7 and 1 more (nothing")) << text;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr bool isMemoryLimitable = true;
#else
constexpr bool isMemoryLimitable = false; // a sanitizer needs more than there would be
#endif

TEST(Machine, MemoryThatRunsOutIsOneLine)
{
    if (!isMemoryLimitable)
        GTEST_SKIP() << "skipped: a sanitizer needs more memory than there would be";
    const std::string file = ManyDrives(1500, R"({"id": 194, "raw": 23})");
    bool failed = false;
    bool done = false;
    for (rlim_t memory = 13 << 20; !done; memory += 1 << 18)
    {
        const Outcome outcome =
            RunTarnisctl({"--json", "--machine", file}, {}, Stdout::Pipe, memory);
        SCOPED_TRACE(memory);
        ASSERT_NE(outcome.exitCode, -1) << outcome.err;
        done = outcome.exitCode == 0;
        failed = failed || outcome.exitCode == 3;
        EXPECT_EQ(done, json::accept(outcome.out));
        const bool isLoaded = outcome.exitCode != 127; // by the system's loader
        EXPECT_EQ(Holds(outcome.err, "tarnisctl: "), isLoaded && !done);
    }
    EXPECT_TRUE(failed);
}

} // namespace
