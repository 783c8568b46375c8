#include "tests/platform/Support.h"

#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <sys/stat.h>

using Platform::SimulatedMachine;

namespace
{

std::string Top(const std::string& members)
{
    return "{\"version\": 1, " + members + "}";
}
std::string Disk(const std::string& members)
{
    return Top("\"disks\": [{\"number\": 7}, {\"number\": 8, " + members + "}]");
}
std::string Attributes(const std::string& list)
{
    return Disk("\"smart\": {\"attributes\": [" + list + "]}");
}
std::string Node(const std::string& members)
{
    return Top("\"devices\": [{\"id\": \"A\"}, {" + members + "}]");
}

/// Fails unless the message is one clean line in three parts.
void ExpectOneLine(const std::string& message)
{
    for (const unsigned char letter : message)
        EXPECT_GE(letter, 0x20) << message;
    EXPECT_NE(message.find("; "), std::string::npos) << message;
    EXPECT_LT(message.size(), 1000u);
}

} // namespace

TEST(MachineFile, WrongTextsAreNamedWithTheirPlace)
{
    std::string attributes = "{\"id\": 1}";
    for (int count = 1; count <= 30; ++count)
        attributes += ", {\"id\": 1}";
    std::string zeros(2 * 4000000, '0'); // a value is left for the end
    for (std::size_t i = 1; i < zeros.size(); i += 2)
        zeros[i] = ',';
    // With the beginnings of their messages, behind the file's name.
    const std::vector<std::pair<std::string, std::string>> table = {
        // Not JSON
        {"{\n  \"version\": 1,\n  oops\n}", "line 3, column 3: syntax error"},
        {"{\"version\": 1, \"_\": \"\xFF\"}", "line 1, column 22: syntax error"},
        {std::string(100000, '['), "[0][0][0]"},
        // JSON of another shape
        {"[]", "top level: expected an object, found a list"},
        {"{}", "top level: the member \"version\" is missing"},
        {"{\"version\": 2}", "version: found 2; this program reads version 1"},
        {Top("\"_a\": [], \"_a\": {\"b\": [{}]}"), "_a: this name stands twice"},
        {Top("\"disk\": []"), "disk: unknown member"},
        {Top("\"modules\": [" + zeros + "0]"),
         "modules[3999996]: more than 4000000 values besides the disks"},
        {Top("\"modules\": {\"a\": \"1\", \"A\": \"2\"}"), "modules.a: this service stands twice"},
        {Top("\"modules\": {\"a\\nb\\u009b\": 1}"), "modules.a\\x0ab\\u009b: expected"},
        // The device tree
        {Node(""), "devices[1]: the member \"id\" is missing"},
        {Node("\"id\": \"a\\u0000\""), "devices[1].id: the text \"a\\x00\" holds a NUL"},
        {Node("\"id\": \"" + std::string(201, 'x') + "\""),
         "devices[1].id: the text \"" + std::string(40, 'x') + "...\" has 201 bytes"},
        {Node("\"id\": \"a\""), "devices[1].id: the id \"a\" stands twice in the tree"},
        {Node("\"id\": \"htree\\\\root\\\\0\""), "devices[1].id: the id"},
        {Node("\"id\": \"B\", \"disks\": [0, 2147483648]"), "devices[1].disks[1]: 2147483648"},
        // Disks
        {Top("\"disks\": [{\"number\": 3}, {\"number\": 3}]"), "disks[1].number: disk 3 stands in"},
        {Disk("\"bytes\": 18446744073709551616"), "disks[1].bytes: 1.8446744073709552e+19 is not"},
        {Disk("\"faults\": [\"open\", \"smart\"]"), "disks[1].faults[1]: \"smart\" is no command"},
        {Disk("\"delay_ms\": {\"open\": 600001}"), "disks[1].delay_ms.open: 600001 is out of"},
        // Pages
        {Disk("\"identify\": \"no.bin\""), "disks[1].identify: the page file \"./no.bin\" cannot"},
        {Disk("\"identify\": \"/no.bin\""), "disks[1].identify: the page file \"/no.bin\" cannot"},
        {Attributes(attributes), "disks[1].smart.attributes[30]: a page holds no more than 30"},
        {Attributes("{\"id\": 0}"), "disks[1].smart.attributes[0].id: 0 is out of range"},
        {Attributes("{\"id\": 2, \"raw\": [1, 2, 3, 4, 5, 256]}"),
         "disks[1].smart.attributes[0].raw[5]: 256 is out of range"},
    };
    for (const auto& [text, expected] : table)
    {
        std::string message;
        EXPECT_FALSE(SimulatedMachine::FromText(text, ".", message)) << text.substr(0, 200);
        EXPECT_TRUE(message.starts_with("machine text: " + expected)) << message << expected;
        ExpectOneLine(message);
    }
}

TEST(MachineFile, TheTreeHas64LevelsAtMost)
{
    std::string text = "{\"id\": \"64\"}";
    for (int level = 63; level >= 1; --level)
        text = "{\"id\": \"" + std::to_string(level) + "\", \"children\": [" + text + "]}";
    std::string message;
    EXPECT_TRUE(SimulatedMachine::FromText(Top("\"devices\": [" + text + "]"), ".", message));
    text = "{\"id\": \"A\", \"children\": [" + text + "]}";
    EXPECT_FALSE(SimulatedMachine::FromText(Top("\"devices\": [" + text + "]"), ".", message));
    EXPECT_NE(message.find("deeper than 64 levels"), std::string::npos) << message;
}

TEST(MachineFile, WrongFilesAreNamed)
{
    const TestFolder folder;
    std::filesystem::resize_file(folder.Write("huge", ""), 64 * 1024 * 1024 + 1);
    folder.Write("511", std::string(511, 'x'));
    folder.Write("short.json", Disk("\"identify\": \"511\""));
    std::vector<std::pair<std::string, std::string>> table = {
        {"missing", ": file: cannot be opened (No such file"},
        {"..", ": file: is a directory; "},
        {"huge", ": file: is larger than 64 MiB; make it smaller"},
        {"short.json", ": disks[1].identify: the page file \"" + folder.File("511") + "\" has 511"},
    };
#if !defined(_WIN32) // names and files that Windows does not have
    ASSERT_EQ(mkfifo(folder.File("fifo").c_str(), 0600), 0);
    table.emplace_back("fifo", ": file: is not a regular file; ");
    folder.Write("bad\n\x1b[31mname", "{");
    table.emplace_back("bad\n\x1b[31mname",
                       "bad\\x0a\\x1b[31mname: line 1, column 2: syntax error");
#endif
    for (const auto& [name, expected] : table)
    {
        std::string message;
        EXPECT_FALSE(SimulatedMachine::FromFile(folder.File(name), message)) << name;
        EXPECT_NE(message.find(expected), std::string::npos) << message;
        ExpectOneLine(message);
    }
}

TEST(MachineFile, PagesAreBuiltAsDrivesLayThemOut)
{
    const auto machine = MachineOf(MachineText("0, 1", R"({"number": 0, "bytes": 240057409536,
        "identify": {"model": "INTEL SSD7", "rotation": 1},
        "smart": {"attributes": [
            {"id": 194, "flags": 34, "value": 70, "worst": 60, "raw": 281474976710655},
            {"id": 9, "value": 90, "raw": [1, 2, 3, 4, 5, 6], "_x": 2}]}, "comment": 1, "delay_ms": {"_y": "z"}},
        {"number": 1, "identify": {"model": "INTEL SSD7", "serial": "SERIAL-OF-20-LETTERS",
                                   "firmware": "FIRMWARE", "swapped": true}})"));
    Platform::Sector page = {};
    const auto at = [&](std::size_t offset, std::size_t count)
    { return std::string(page.begin(), page.end()).substr(offset, count); };
    ASSERT_EQ(Open(*machine, 0)->Identify(page), ERROR_SUCCESS);
    EXPECT_EQ(at(54, 12), "NIET LSS7D  ");
    EXPECT_EQ(at(434, 2), std::string("\1\0", 2));
    // 468862128 sectors: more than 28 bits hold.
    EXPECT_EQ(at(120, 4), std::string("\xff\xff\xff\x0f", 4));
    EXPECT_EQ(at(200, 8), std::string("\xb0\x44\xf2\x1b\0\0\0\0", 8));

    ASSERT_EQ(Open(*machine, 0)->SmartData(page), ERROR_SUCCESS);
    EXPECT_EQ(at(2, 12), std::string("\xc2\x22\0\x46\x3c\xff\xff\xff\xff\xff\xff\0", 12));
    EXPECT_EQ(at(14, 12), std::string("\x09\0\0\x5a\x5a\1\2\3\4\5\6\0", 12));
    EXPECT_EQ(std::accumulate(page.begin(), page.end(), 0u) % 256, 0u);

    ASSERT_EQ(Open(*machine, 1)->Identify(page), ERROR_SUCCESS);
    EXPECT_EQ(at(54, 12), "INTEL SSD7  ");
    EXPECT_EQ(at(20, 20), "SERIAL-OF-20-LETTERS");
    EXPECT_EQ(at(46, 8), "FIRMWARE");
}

TEST(MachineFile, RandomMutationsNeverCrash)
{
    const TestFolder folder;
    folder.Write("page", std::string(512, 'p'));
    const std::string good = MachineText(
        "0, 1, 1", R"({"number": 0, "bytes": 1000, "identify": "page", "faults": ["length"],
                       "delay_ms": {"open": 0}, "partitions": [{"name": "a", "index": 1}]},
                      {"number": 1, "identify": {"model": "\u00e9", "swapped": true},
                       "smart": {"attributes": [{"id": 194, "raw": [1, 2, 3, 4, 5, 6]}]}})");
    const std::string scraps = "{}[]\",:null-1e9\\u00\xC3_true99999\n\x1b";
    std::mt19937 random(20); // NOLINT: the same cases at every run
    const auto below = [&](std::size_t bound) { return random() % bound; };
    int taken = 0;
    for (int round = 0; round < 6000; ++round)
    {
        std::string text = good;
        for (std::size_t edits = 1 + below(3); edits != 0; --edits)
        {
            const std::size_t place = below(text.size());
            const std::string copied = text.substr(below(text.size()), below(60));
            const std::string byte(1, static_cast<char>(below(256)));
            const std::string pieces[] = {
                "", byte, scraps.substr(below(scraps.size()), 1 + below(5)), copied};
            text.replace(place, below(12), pieces[below(std::size(pieces))]);
        }
        std::string message;
        const auto machine = SimulatedMachine::FromText(text, folder.Path(), message);
        EXPECT_EQ(message.empty(), machine != nullptr);
        if (!machine)
            ExpectOneLine(message);
        taken += machine != nullptr;
    }
    EXPECT_GT(taken, 100);
}
