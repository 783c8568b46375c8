// This computer: over files as a kernel shows them, and disks that answer as told.
#include "platform/linux/LinuxMachine.h"
#include "platform/DiskAnswers.h"
#include "platform/WindowsApi.h"
#include "platform/linux/DiskContents.h"
#include "platform/linux/DiskNames.h"
#include "platform/linux/SystemTables.h"
#include "tests/support/PluginTest.h"
#include "tests/support/TestFolder.h"

#include <boost/algorithm/string.hpp>

#include <latch>
#include <regex>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Platform;
using namespace boost::algorithm;

static std::vector<std::string> Words(const char* between, const std::string& text)
{
    std::vector<std::string> words;
    return split(words, trim_copy(text), is_any_of(between), token_compress_on);
}

/// A made-up computer, which stands in for the kernel with regular files in the place of disks.
struct Linux : Support::PluginTest, DiskPort
{
    /// What is answered to "open sda": an error number. What is answered to "sda ec" (a command):
    /// "call=5" is an error number of the call, "status=", "host=", "driver=", "resid=", "told="
    /// (the length of the sense) are fields; "fixed" and "desc" are the sense of a command
    /// that went well with 0xFF in its count register, "2=11" changes a byte of it; "page=97" is
    /// the first byte of the page.
    std::map<std::string, std::string> answers;
    std::vector<std::string> calls;   ///< in their order
    std::latch asked{1}, released{1}; ///< a request that shall "hang" has come; may go on
    std::mutex lock;
    const TestFolder folder;
    std::shared_ptr<LinuxMachine> machine;
    int announced = 0;
    int tablesRead = 0;

    std::string Answer(const std::string& question, const std::string& call)
    {
        const std::lock_guard guard(lock);
        return calls.push_back(call), answers[question];
    }
    int Open(const std::string& path, const WantedDevice& wanted, FileDescriptor& file) override
    {
        const std::string call = "open " + path.substr(path.rfind('/') + 1);
        file = FileDescriptor(open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600));
        return std::stoi("0" + Answer(call, call + " " + wanted.device));
    }
    int OpenGeneric(const std::string& path, const std::string& device,
                    FileDescriptor& file) override
    {
        return Open(path, {device, ""}, file);
    }
    int Send(const CommandFile& file, sg_io_hdr_t& head) override
    {
        const std::string link = "/proc/self/fd/" + std::to_string(file.descriptor);
        const std::string name = std::filesystem::read_symlink(link).filename();
        std::ostringstream call;
        call << name << ' ' << head.dxfer_direction << ' ' << head.dxfer_len << ' ' << head.timeout;
        for (int at = 0; at < head.cmd_len; ++at)
            call << std::hex << ' ' << unsigned{head.cmdp[at]};
        std::map<std::string, std::uint8_t> in = {{"page", 'p'}};
        std::vector<std::uint8_t> sense; // 9 is right nowhere in it
        const std::string question = name + call.str().substr(call.str().size() - 5, 3);
        for (const std::string& word : Words(",", Answer(question, call.str())))
        {
            const auto parts = Words("=", word + "=0");
            in[parts[0]] = static_cast<std::uint8_t>(std::stoi(parts[1], nullptr, 0));
            if (parts[0] == "fixed")
                sense = {0x70, 9, 1, 9, 0x50, 9, 0xFF, 10, 9, 9, 9, 9, 0, 0x1D, 9, 9, 9, 9};
            else if (parts[0] == "desc") // another one stands before that of the registers
                sense = {0x72, 1, 0, 0x1D, 9,    9, 9, 18, 2, 2, 9, 9, 9,
                         12,   9, 9, 9,    0xFF, 9, 9, 9,  9, 9, 9, 9, 0x50};
            else if (parts[0] == "hang")
                asked.count_down(), released.wait();
            else if (std::isdigit(parts[0][0]))
                sense.at(std::stoul(parts[0])) = in[parts[0]];
        }
        std::copy(sense.begin(), sense.end(), head.sbp);
        head.sb_len_wr = in.try_emplace("told", sense.size()).first->second,
        head.resid = in["resid"];
        head.status = in.try_emplace("status", sense.empty() ? 0 : 2).first->second;
        head.host_status = in["host"], head.driver_status = in["driver"];
        std::fill_n(static_cast<std::uint8_t*>(head.dxferp), head.dxfer_len / 512, in["page"]);
        return in["call"];
    }
    std::optional<TableFacts> ReadTable(int) override
    {
        ++tablesRead;
        return answers["table"].empty()
                   ? std::optional(TableFacts{true, {{1, 4096, "t1", ""}, {10, 8, "t10", ""}}})
                   : std::nullopt;
    }
    std::optional<ContentFacts> ReadContent(int) override
    {
        return answers["content"].empty()
                   ? std::optional(ContentFacts{true, answers["fs"], "label"})
                   : std::nullopt;
    }

    void SetUp() override
    {
        std::filesystem::remove_all(folder.Path());
        // links; disks and partitions with their numbers
        const auto rows = Words(" \n", R"(bus/pci/devices/00:1f.2 ->../../../devices/pci0/00:1f.2
            bus/pci/devices/00:1c.0 ->../../../devices/pci0/00:1c.0
            bus/pci/devices/01:00.0 ->../../../devices/pci0/00:1c.0/01:00.0
            devices/pci0/00:1f.2/driver ->../ahci devices/pci0/00:1c.0/driver ->../pcieport
            block/sda ->../devices/pci0/00:1f.2/ata1/sda block/sdaa ->../devices/pci0/00:1f.2/sdaa
            block/sdb ->../devices/pci0/00:1c.0/01:00.0/sdb block/sdc ->../devices/usb/sdc
            block/sd! ->../devices/sd! bus/pci/devices/0! ->../../../devices/0! devices/0!/x ->x
            devices/pci0/00:1f.2/ata1/sda 8:0 devices/pci0/00:1c.0/01:00.0/sdb 8:16
            devices/usb/sdc 8:32 devices/pci0/00:1f.2/sdaa 65:160 devices/sd! 8:48
            block/sda/sda! 8:3 block/sda/sda1 8:1 block/sda/sda10 8:10
            block/f ->../bus/pci/devices block/p ->../../proc/self
            ../dev/pipe | ../proc/self/x x kernel/uevent_seqnum x)");
        for (auto row = rows.begin(); row != rows.end(); row += 2)
            if (const std::string at = "sys/" + row[0]; std::isdigit(row[1][0]) == 0)
                Put(at, row[1]);
            else
                Put(at + "/size", "16"), Put(at + "/start", "8"), Put(at + "/dev", row[1]),
                    Put(at + "/device/vendor", "ATA     "),
                    Put(at + "/partition", row[1].substr(2));
        machine = std::make_shared<LinuxMachine>(
            SystemFolders{folder.File("sys"), folder.File("proc"), folder.File("dev")},
            std::shared_ptr<DiskPort>(std::shared_ptr<void>(), this));
    }
    /// Puts something under a name: "->..." is a link, "|" a FIFO, all else the text of a file,
    /// with "_" for blanks and ";" for ends of lines.
    void Put(const std::string& name, const std::string& what) const
    {
        const std::filesystem::path path = folder.File(name);
        std::filesystem::create_directories(path.parent_path());
        std::filesystem::remove_all(path);
        if (what.starts_with("->"))
            std::filesystem::create_symlink(what.substr(2), path);
        else if (what != "|" || mkfifo(path.c_str(), 0600) != 0)
            folder.Write(name,
                         replace_all_copy(replace_all_copy(what, "_", " "), ";", "\n") + "\n");
    }
    /// Each node with its service and what it hangs on, and the partitions of a disk, after a
    /// change of devices.
    std::string Walk(DWORD disk = 0)
    {
        folder.Write("sys/kernel/uevent_seqnum", std::to_string(++announced) + "\n");
        std::ostringstream text;
        const auto tree = machine->ReadDeviceTree();
        const auto name = [](const std::string& id) { return id.substr(id.rfind('\\') + 1); };
        for (auto at = tree->begin() + 1; at != tree->end(); ++at)
            text << name(at->id) << '=' << at->service << '<' << name((*tree)[at->parent].id)
                 << ' ';
        std::vector<ZKTX::CSystemPartition> parts;
        text << (machine->Partitions(disk, parts) ? "" : "none");
        for (const auto& part : parts)
            text << part.m_PartitionName << ' ' << part.m_Index << ' ' << part.m_Number1 << '+'
                 << part.m_Number2 << ' ' << part.m_Text1 << part.m_Text6 << ';';
        return text.str();
    }
    /// What a disk answers to SMART READ DATA and IDENTIFY, errors and the first letter of the page
    /// ("?" before), and its length; the error of opening alone if there was one.
    std::string Ask(int disk) const
    {
        std::unique_ptr<Device> device;
        const std::string path = "\\\\.\\PhysicalDrive" + std::to_string(disk);
        std::uint64_t bytes = machine->OpenDevice(path, true, device);
        std::string text;
        for (const auto question : {&Device::SmartData, &Device::Identify})
        {
            Sector page = {'?'};
            const DWORD error = device ? (device.get()->*question)(page) : ERROR_SUCCESS;
            text += (error == 0 ? "" : std::to_string(error)) + static_cast<char>(page[0]);
        }
        return device && device->Length(bytes) == 0 ? text + std::to_string(bytes) : text;
    }
};

TEST_F(Linux, EveryEndOfARequestHasItsError)
{
    // What comes of a command that brings a page; of SMART data whose question for the power mode
    // ends so; all such ends.
    for (const std::string& group : Words("#", R"(
        p p good fixed fixed,2=0 fixed,driver=8 fixed,told=255 desc desc,7=255
        # 1117? p resid=1 resid=255 fixed,resid=2 fixed,2=11 fixed,2=5 desc,1=11 desc,1=5
        # 21? 21? call=19 call=6 host=1 host=4 fixed,2=2 desc,1=2 # 8? 8? call=12 # 5? 5? call=1
        call=13 # 1117? 1117? call=5 call=22 host=3 host=7 driver=6 fixed,driver=6 status=8 status=2
        fixed,status=8 fixed,0=0 fixed,0=0x71 fixed,0=0x71,2=11 fixed,2=3 fixed,4=0x51 fixed,4=0x70
        fixed,4=0x10 fixed,7=5 fixed,12=4 fixed,13=0 fixed,told=13 fixed,2=11,told=7 desc,1=6
        desc,0=0x73,1=5 desc,25=0x51 desc,25=0x70 desc,1=5,told=7 desc,told=13 desc,told=25
        desc,7=17 desc,7=0 desc,9=255 desc,13=11 desc,12=8)"))
    {
        const auto words = Words(" \n", group);
        for (auto end = words.begin() + 2; end != words.end(); ++end)
        {
            answers = {{"sda ec", *end}, {"sda b0", *end}};
            EXPECT_EQ(Ask(0), words[0] + words[0] + "8192") << *end;
            answers = {{"sda e5", *end}};
            EXPECT_EQ(Ask(0), words[1] + "p8192") << *end;
        }
    }
}

TEST_F(Linux, ASleepingDiskAnswersWithItsLastPageAndASuspendedOneIsNotOpened)
{
    std::filesystem::create_directories(folder.File("sys/block/sda/device/power"));
    Put("sys/block/sda/device/power/control", "auto");
    Put("sys/block/sda/device/vpd_pg89", std::string(60, '?') + std::string(512, 'v'));
    // runtime status, power mode, which disk, its page; what it answers, and whether it was asked
    // for its identity (+), for less (~), or not opened at all
    const auto rows = Words(" \n", R"(
        active 0 1 97 21?p8192+      active 255 1 98 bp8192+      active 0 1 99 bp8192~
        active 1 1 99 bp8192~        active 128 1 100 dp8192+     active 64 1 101 ep8192+
        active 65 1 102 fp8192+      active 0 1 103 fp8192~       active 0 2 103 21?p8192+
        suspended 9 2 103 21?p8192- active 255 2 104 hp8192+     suspending 9 2 105 hp8192-
        active 0 2 105 hp8192~       active 0 1 105 21?p8192+     suspended 9 3 105 21?v8192-)");
    for (const std::string format : {"fixed,6=", "desc,17="})
        for (auto row = rows.begin(); row != rows.end(); row += 5)
        {
            answers = {{"sda e5", format + row[1]}, {"sda b0", "page=" + row[3]}};
            folder.Write("sys/block/sda/device/power/runtime_status", row[0] + "\n");
            Put("sys/block/sda/diskseq", row[2] + format), calls.clear(), Walk();
            const std::string answer = Ask(0);
            const bool isIdentified =
                std::any_of(calls.begin(), calls.end(),
                            [](const auto& call) { return ends_with(call, " ec 0"); });
            EXPECT_EQ(answer + (calls.empty()  ? '-'
                                : isIdentified ? '+'
                                               : '~'),
                      row[4])
                << row - rows.begin();
        }

    folder.Write("sys/block/sda/device/power/runtime_status", "active\n");
    for (const char* const answer :
         {"desc,17=255", "desc,17=0", "call=5"}) // awake, asleep, nothing
        answers = {{"sda e5", answer}}, Walk(), Ask(0);
    std::unique_ptr<Device> device;
    Sector page = {1};
    ASSERT_EQ(machine->OpenDevice("\\\\.\\PhysicalDrive0", true, device), ERROR_SUCCESS);
    EXPECT_NE(device->Identify(page), ERROR_SUCCESS);
    EXPECT_EQ(page, Sector{1}) << "a question that fails leaves it alone";
}

TEST_F(Linux, AMissingRightIsToldUntilItIsThere)
{
    const char* const cases[][4] = {
        {"13", "", "20000", "sda cannot be read: read access to /dev/sda is missing;"},
        {"13", "", "dffff", "read access to /dev/sda and the capability CAP_SYS_RAWIO are missing"},
        {"0", "call=1", "20000", "sda cannot be asked: the capability CAP_SYS_RAWIO is missing;"},
        {"2", "", "20000", "sda cannot be read: /dev/sda is missing;"}};
    for (const auto& [opening, answer, mask, line] : cases)
    {
        Put("proc/self/status", std::string("CapPrm:\t0;CapEff:\t0") + mask + ";CapBnd:\t0");
        answers = {{"open sda", opening}, {"sda ec", answer}};
        EXPECT_TRUE(contains(Ask(0).append(machine->MissingRight()), line)) << line;
        answers.clear();
        EXPECT_EQ(Ask(0).append(machine->MissingRight()), "pp8192") << line;
    }
    answers = {{"open sda", "13"}, {"open sdb", "2"}};
    Put("sys/block/sdb", "|"), Put("sys/block/sda", "x"), Ask(0), Ask(1);
    EXPECT_FALSE(contains(machine->MissingRight(), "sdb")) << "not there at all";
    EXPECT_FALSE(contains(Walk(2).append(machine->MissingRight()), "sda "));

    // Nine disks that cannot be read, of which eight are named.
    for (const std::string letter : {"e", "f", "g", "h", "i", "j", "k", "l", "m"})
    {
        std::filesystem::copy(folder.File("sys/devices/usb/sdc"),
                              folder.File("sys/devices/usb/sd" + letter));
        Put("sys/block/sd" + letter, "->../devices/usb/sd" + letter);
        answers["open sd" + letter] = "2";
    }
    Walk();
    for (int disk = 4; disk < 13; ++disk)
        Ask(disk);
    EXPECT_TRUE(contains(machine->MissingRight(), "sdk, sdl and 1 more cannot be read"))
        << machine->MissingRight();
}

TEST_F(Linux, WhatMakesNoSenseDropsItsNodeAndNothingElse)
{
    const std::string whole = "00:1c.0=pcieport<0 01:00.0=<00:1c.0 00:1f.2=storahci<0 "
                              "sda=disk<00:1f.2 sdb=disk<01:00.0 sdc=disk<0 sdaa=disk<00:1f.2 "
                              "sda1 1 4096+8192 ;sda10 10 4096+8192 ;";
    // What of this becomes what; what is changed for it, and how.
    for (const std::string& group : Words("#", R"(
        sda=\S+\s(.*)sda1\s.* $1none sda | sda ->sda sda ->../devices/pci0/00:1f.2/sdaa sda/dev |
        sda ->../devices/../devices/pci0/00:1f.2/ata1/sda sda ->../devices/gone/sda sda/dev 8:
        sda/dev ->sda1/dev sda/dev 8:0:0 sda/size | sda/size -1 sda/size 36028797018963968
        # sda1\s.*;sda sda sda/sda1 | sda/sda1 ->sda1 sda/sda1/partition | sda/sda1/partition 2
        sda/sda1/start | sda/sda1/start 36028797018963968
        # $ $1 sda/sda1/ro | sda/sda1/ro x sda/stat | sda/diskseq ->diskseq sda/device |
        sda/device ->device p/mountinfo | p/mountinfo x_-_y;1_2_8:1_/_/a_-_x_y;1_2_8:1_/_/a_rw
        # 00:1f.2=s\S+\s|0:1f.2 $1 f/00:1f.2 | f/00:1f.2 ->00:1f.2 f/00:1f.2 ->../devices/g/00:1f.2
        # storahci $1 f/00:1f.2/driver | f/00:1f.2/driver x # ;s read-only;s sda/sda1/ro 1
        # ;s /bind;s p/mountinfo 1_2_8:1_/sub_/bind_rw_-_ext4_/dev/sda1
        # ;s /home;s p/mountinfo 1_2_8:11_/_/t_rw_-_x_/dev/sda1;1_2_0:42_/@_/home_r_-_btrfs_/dev/sda1;1_2_0:43_/_/n_r_-_fuse.x_/dev/sda1
        # ;s [SWAP];s p/../swaps Filename_Type;/dev/sda1_partition_1_0 # ;s /m\n;s
        p/mountinfo 1_2_8:1_/sub_/s_rw_-_x_y;1_2_8:1_/_/m\134n_rw_a:1_-_x_y;1_2_8:1_/_/b_r_-_x_y)"))
    {
        const auto words = Words(" \n", group);
        for (auto word = words.begin() + 2; word != words.end(); word += 2)
            EXPECT_EQ((SetUp(), Put("sys/block/" + word[0], word[1]), Walk()),
                      std::regex_replace(whole, std::regex(words[0]), words[1]))
                << *word;
    }
    Put("sys/block/sda", "|");
    EXPECT_EQ(machine->ReadDeviceTree()->size(), 8u) << "nothing was announced";
}

TEST_F(Linux, WhatCannotBeReadStandsAsItWas)
{
    // sectors written, what fails or is answered; file systems and types of the partitions
    const char* const rows[][4] = {
        {"1", "content", "x", "t1  "},       {"1", "fs", "a", "at1 a "},
        {"1", "fs", "b", "at1 a "},          {"2", "table", "x", "at1 a "},
        {"2", "sda e5", "call=5", "at1 a "}, {"2", "sda e5", "fixed,6=0", "at1 a "},
        {"2", "open sda1", "13", "at1 a "},  {"2", "fs", "c", "ct1 c "},
        {"3", "content", "x", "ct1 c "}};
    const auto facts = [this]
    {
        std::vector<ZKTX::CSystemPartition> partitions;
        std::string text = machine->Partitions(0, partitions) ? "" : "none";
        for (const auto& partition : partitions)
            text += partition.m_Text2 + partition.m_Text4 + " ";
        return text;
    };
    for (const auto& [written, question, answer, expected] : rows)
    {
        Put("sys/block/sda/stat", std::string("_1_2_3_4_5_6_") + written + "_8");
        answers = {{question, answer}}, Walk();
        EXPECT_EQ(facts(), expected) << written << question << answer;
    }
    // No descriptor left, which is no word on the disks.
    const std::string before = Walk();
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none = {3, limit.rlim_max};
    folder.Write("sys/kernel/uevent_seqnum", "9999\n");
    setrlimit(RLIMIT_NOFILE, &none);
    const std::size_t nodes = machine->ReadDeviceTree()->size();
    const std::string kept = facts();
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(nodes, 8u);
    EXPECT_EQ(kept, "ct1 c ");
    EXPECT_EQ(Walk(), before);
}

TEST_F(Linux, ADiskIsReadAgainWhenItMayHoldSomethingNew)
{
    // What is changed by then, and after what time; whether the disk is read for it.
    const struct
    {
        const char *file, *text;
        int seconds;
        bool isRead;
    } rows[] = {{"", "", 0, true},
                {"stat", "_1_2_3_4_5_6_7_8", 0, false},
                {"", "", 300, false},
                {"", "", 1, true},
                {"", "", 301, false},
                {"stat", "_1_2_3_4_5_6_7_8_9_10_11_12_13_14_15", 301, true}, // discarded
                {"stat", "_1_2_3_4_5_6_7_8_9_10_11_12_13_24_15", 301, true},
                {"stat", "_9_9_9_9_9_9_7_9_9_99_99_99_99_24_99", 301, false},
                {"stat", "_9_9_9_9_9_9_8_9_9_99_99_99_99_24_99", 301, true},
                // The kernel tells something new.
                {"sda1/start", "9", 0, true},
                {"sda1/size", "17", 0, true},
                {"diskseq", "77", 0, true},
                {"size", "32", 0, true},
                {"sda1/ro", "1", 0, false},
                {"", "", 0, false}};
    SystemFolders folders{folder.File("sys"), folder.File("proc"), folder.File("dev")};
    DiskContents contents(folders, std::shared_ptr<DiskPort>(std::shared_ptr<void>(), this));
    auto now = std::chrono::steady_clock::now();
    std::shared_ptr<const KernelDisk> disk;
    const auto mounts = std::make_shared<const MountTable>();
    for (const auto& [file, text, seconds, isRead] : rows)
    {
        if (*file != '\0')
            Put(std::string("sys/block/sda/") + file, text);
        now += std::chrono::seconds(seconds);
        if (!disk || (*file != '\0' && std::string(file) != "stat"))
            disk = ReadKernelPicture(folders).disks.at(0);
        tablesRead = 0;
        std::vector<ZKTX::CSystemPartition> parts;
        contents.AppendPartitions(disk, mounts, now, parts);
        EXPECT_EQ(tablesRead > 0, isRead) << file << text << ' ' << seconds;
        ASSERT_EQ(parts.size(), 2u);
        EXPECT_EQ(parts[0].m_PartitionName + parts[1].m_PartitionName, "sda1sda10");
    }
    // Something was mounted from it.
    Put("sys/block/sda/stat", "_1_1_1_1_1_1_1"), tablesRead = 0;
    std::vector<ZKTX::CSystemPartition> parts;
    contents.AppendPartitions(
        disk, std::make_shared<const MountTable>("1 2 8:1 / /m rw - ext4 /dev/sda1\n", ""), now,
        parts);
    EXPECT_EQ(parts.at(0).m_Text1 + std::to_string(tablesRead), "/m1");

    // A whole disk holds something itself only when it has no table.
    disk = ReadKernelPicture(folders).disks.at(1);
    contents.AppendPartitions(disk, mounts, now, parts);
    EXPECT_EQ(parts.size(), 2u);
}

TEST_F(Linux, APictureIsTrustedForAMinuteUnlessAChangeIsAnnounced)
{
    const struct
    {
        const char* announced;
        int milliseconds;
        bool isNew;
    } rows[] = {{"1", 0, true},       {"1", 59'000, false}, {"1", 2'000, true},
                {"1", 60'000, false}, {"2", 0, true},       {"2", 1, false},
                {"x", 0, true},       {"x", 0, true},       {"1", 59'000, true}};
    SystemTables tables({folder.File("sys"), folder.File("proc"), folder.File("dev")});
    auto now = std::chrono::steady_clock::now();
    std::string size = "16";
    for (const auto& [announcement, milliseconds, isNew] : rows)
    {
        folder.Write("sys/kernel/uevent_seqnum", announcement);
        Put("sys/block/sda/size", size += "0");
        now += std::chrono::milliseconds(milliseconds);
        const auto picture = tables.Refresh(now);
        EXPECT_EQ(picture->disks.at(0)->whole.bytes == 512 * std::stoull(size), isNew)
            << announcement << ' ' << milliseconds;
        EXPECT_EQ(tables.Last(), picture);
    }
    // A driver's name from elsewhere leads nowhere else.
    Put("sys/module/ahci/version", "3.0"), Put("sys/version", "4.0"), Put("sys/m/version", "5.0");
    std::string version;
    for (const char* const service : {"", "..", ".", "../m"})
        EXPECT_FALSE(machine->ModuleVersion(service, version)) << service;
    EXPECT_TRUE(machine->ModuleVersion("storahci", version));
    EXPECT_EQ(version, "3.0");
}

TEST_F(Linux, ADiskThatSomebodyChangesIsLeftAlone)
{
    Walk();
    const int other = open(folder.File("dev/sda").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
    for (const bool isLocked : {true, false})
    {
        EXPECT_EQ(flock(other, isLocked ? LOCK_EX : LOCK_UN), 0);
        Put("sys/block/sda/stat", isLocked ? "_1_2_3_4_5_6_7" : "_1_2_3_4_5_6_8");
        Put("sys/block/sda/diskseq", isLocked ? "5" : "6"), tablesRead = 0, Walk();
        EXPECT_EQ(tablesRead, isLocked ? 0 : 1);
    }
    close(other);
}

TEST_F(Linux, NumbersOfDisksAreThoseOfTheKernel)
{
    const std::pair<const char*, std::int64_t> names[] = {
        {"sda", 0},        {"sdz", 25},
        {"sdaa", 26},      {"sdzz", 701},
        {"sdaaa", 702},    {"sdfxshrxx", 2147483647},
        {"sdfxshrxy", -1}, {"sdzzzzzzzzzzzzzzzzz", -1},
        {"sd", -1},        {"sda1", -1},
        {"sdA", -1},       {"sd{", -1},
        {"hda", -1},       {"sd`", -1}};
    for (const auto& [name, number] : names)
        EXPECT_EQ(DiskNumberOfName(name),
                  number < 0 ? std::nullopt : std::optional(static_cast<DWORD>(number)))
            << name;
}

TEST_F(Linux, PartitionsStandInTheOrderOfTheirNumbersAndANewOneMakesANewDisk)
{
    SystemTables tables({folder.File("sys"), folder.File("proc"), folder.File("dev")});
    const auto now = std::chrono::steady_clock::now();
    Put("sys/block/sda/diskseq", "7");
    const auto before = tables.Refresh(now)->disks.at(0);
    folder.Write("sys/kernel/uevent_seqnum", "1");
    EXPECT_EQ(tables.Refresh(now)->disks.at(0), before) << "nothing is new";
    for (const auto& [name, text] :
         {std::pair{"size", "16"}, {"start", "8"}, {"dev", "8:2"}, {"partition", "2"}})
        Put(std::string("sys/block/sda/sda2/") + name, text);
    folder.Write("sys/kernel/uevent_seqnum", "2");
    std::string names;
    for (const KernelPartition& partition : tables.Refresh(now)->disks.at(0)->partitions)
        names += partition.name + ' ';
    EXPECT_EQ(names, "sda1 sda2 sda10 ");
}

TEST_F(Linux, AShortageIsNoWordOnADisk)
{
    Walk();
    const std::pair<const char*, DWORD> opening[] = {{"24", ERROR_TOO_MANY_OPEN_FILES},
                                                     {"23", ERROR_TOO_MANY_OPEN_FILES},
                                                     {"12", ERROR_NOT_ENOUGH_MEMORY},
                                                     {"5", ERROR_IO_DEVICE}};
    for (const auto& [error, expected] : opening)
    {
        answers = {{"open sda", error}, {"open sda1", error}};
        std::unique_ptr<Device> device;
        EXPECT_EQ(machine->OpenDevice("\\\\.\\PhysicalDrive0", true, device), expected);
        std::vector<ZKTX::CSystemPartition> parts;
        Put("sys/block/sda/diskseq", error), machine->ReadDeviceTree();
        folder.Write("sys/kernel/uevent_seqnum", std::to_string(++announced) + "\n");
        machine->ReadDeviceTree();
        bool isShort = false;
        try
        {
            machine->Partitions(0, parts);
        }
        catch (const std::bad_alloc&)
        {
            isShort = true;
        }
        EXPECT_EQ(isShort, expected != ERROR_IO_DEVICE) << error;
    }
    // Nor does it stand among the answers that explain a disk.
    SetCurrentMachine(machine);
    ForgetDiskAnswers();
    for (const char* const error : {"24", "5"})
    {
        answers = {{"open sda", error}};
        EXPECT_EQ(Platform::CreateFileA("\\\\.\\PhysicalDrive0", GENERIC_READ | GENERIC_WRITE, 3,
                                        nullptr, OPEN_EXISTING, 128, nullptr),
                  INVALID_HANDLE_VALUE);
        std::size_t count = 0;
        ForEachDiskAnswer([&](const DiskAnswer&) { ++count; });
        EXPECT_EQ(count, std::string(error) == "5" ? 1u : 0u);
    }
    SetCurrentMachine(nullptr);

    // No picture was ever taken.
    LinuxMachine fresh({folder.File("sys"), folder.File("proc"), folder.File("dev")},
                       std::shared_ptr<DiskPort>(std::shared_ptr<void>(), this));
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none = {3, limit.rlim_max};
    std::string version;
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_THROW(fresh.ReadDeviceTree(), std::bad_alloc);
    EXPECT_THROW(fresh.ModuleVersion("storahci", version), std::bad_alloc);
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(fresh.ReadDeviceTree()->size(), 8u);
}

TEST_F(Linux, AGenericDeviceTakesTheCommandsWhereItCanBeOpened)
{
    using Files = std::filesystem::directory_iterator;
    // The folder of a SCSI device has its name, and a link leads there.
    Put("sys/block/sda/device", "->../0:0"), Put("dev/bsg/1:0", "x");
    Put("sys/devices/pci0/00:1f.2/ata1/0:0/bsg/0:0/dev", "251:0");
    Put("sys/devices/pci0/00:1f.2/ata1/0:0/vendor", "ATA     ");
    Walk(1);
    const auto before = std::distance(Files("/proc/self/fd"), {});
    // How opening it ends; what goes out for the disk as it comes, and then.
    const char* const cases[][3] = {
        {"0", "open 0:0 251:0;0:0 e5;0:0 b0;0:0 ec", "0:0 e5;0:0 b0;0:0 ec"},
        {"13", "open 0:0 251:0;open sda 8:0;sda e5;sda b0;sda ec",
         "open sda 8:0;sda e5;sda b0;sda ec"},
        {"2", "open 0:0 251:0;open sda 8:0;sda e5;sda b0;sda ec",
         "open 0:0 251:0;open sda 8:0;sda e5;sda b0;sda ec"}};
    for (const auto& [opening, first, next] : cases)
    {
        answers = {{"open 0:0", opening}};
        Put("sys/block/sda/diskseq", opening), Walk(1);
        for (const char* const expected : {first, next})
        {
            calls.clear();
            EXPECT_EQ(Ask(0).append(machine->MissingRight()), "pp8192") << expected;
            for (std::string& call : calls)
                if (!call.starts_with("open"))
                    call = call.substr(0, call.find(' ')) + call.substr(call.size() - 5, 3);
            EXPECT_EQ(join(calls, ";"), expected);
        }
    }
    answers = {{"0:0 ec", "call=19"}};
    Put("sys/block/sda/diskseq", "3"), Walk(1);
    EXPECT_EQ(Ask(0), "p21?8192") << "gone in the middle";
    Put("sys/block/sda", "x"), Walk(1);
    EXPECT_EQ(std::distance(Files("/proc/self/fd"), {}), before);
}

TEST_F(Linux, ADiskThatHangsHoldsNobodyElse)
{
    Walk(1);
    using Files = std::filesystem::directory_iterator;
    const auto before = std::distance(Files("/proc/self/fd"), {});
    answers = {{"sda ec", "hang"}};
    std::string answer;
    std::thread hung([&] { answer = Ask(0); });
    asked.wait();
    EXPECT_TRUE(Ask(1).append(Walk(1)).append(machine->MissingRight()).starts_with("pp8192"));
    released.count_down(), hung.join();
    EXPECT_EQ(answer, "pp8192");
    EXPECT_EQ(std::distance(Files("/proc/self/fd"), {}), before);
}

TEST_F(Linux, APluginShowsTheDisksThatAnswerAndSendsNothingElse)
{
    answers = {{"sda ec", "call=19"}};
    Platform::SetCurrentMachine(machine);
    Support::LoadedPlugin plugin;
    EXPECT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
    EXPECT_EQ(Support::ValueText(plugin.Topology().back(), PI::PROP_OS_DEVICE), "text:Disk 26");
    const std::string in = " -3 512 10000 85 8 e 0 ", identify = in + "0 0 1 0 0 0 0 0 0 0 ec 0",
                      power = ";sdaa -1 0 10000 85 6 20 0 0 0 0 0 0 0 0 0 0 0 e5 0";
    EXPECT_EQ(join(calls, ";"), "open sda 8:0;sda" + identify + ";open sdaa 65:160;sdaa" +
                                    identify + power + ";sdaa" + in +
                                    "d0 0 1 0 1 0 4f 0 c2 0 b0 0;open sdaa 65:160" + power);
    FileDescriptor file;
    for (const char* name : {"dev/pipe", "dev", "dev/sda"}) // a folder cannot be opened for writing
        EXPECT_EQ(DiskPort().Open(folder.File(name), {"0:0", "1"}, file), ENODEV) << name;
}
