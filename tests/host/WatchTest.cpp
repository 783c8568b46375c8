// Watching, with the real plug-in and a machine file that changes under it.
#include "tests/host/Running.h"
#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <ctime>
#include <fstream>

namespace
{

using nlohmann::json;

/// A machine of disks with these numbers.
std::string PutNumbers(const std::vector<std::uint32_t>& numbers)
{
    std::vector<json> disks;
    for (const std::uint32_t number : numbers)
    {
        disks.push_back(Support::Disk(number));
        disks.back()["identify"] = Support::Identity("T\x1b DISK", "S" + std::to_string(number));
    }
    return PutMachine(disks);
}

} // namespace

TEST(WatchVerb, PrintsDrivesThatComeAndGo)
{
    testFolder.Write("tarnis.ini", "PollInterval=2\n");
    const std::string machine = PutNumbers({0, 1});
    {
        Running watch({"watch", "--machine", machine});
        watch.LineWith("watching 2 drives");
        PutNumbers({0, 1, 7});
        EXPECT_TRUE(Holds(watch.LineWith("drive came"), ": disk7  T\\x1b DISK, serial S7"));
        PutNumbers({0, 7});
        const std::string gone = watch.LineWith("drive gone");
        EXPECT_TRUE(gone.starts_with("!! ") && Holds(gone, ": disk1 ")) << gone;
        EXPECT_EQ(watch.End(SIGINT), 0);
    }
    // A trace bit that no trace line has: the plug-in's line at its start is shown.
    Running watch({"watch", "--json", "--machine", machine, "--trace-mask", "0x40000000"});
    watch.LineWith("adapter count is 1");
    EXPECT_EQ(json::parse(watch.LineWith("{"))["kind"], "start");
    PutNumbers({7});
    const json went = json::parse(watch.LineWith("{"));
    EXPECT_EQ(went["event"], 10920);
    EXPECT_EQ(went["name"], "PNPADD_EX");
    EXPECT_EQ(went["severity"], 2);
    EXPECT_EQ(went["object"], "0x0131000000000002");
    EXPECT_EQ(went["source"], "T\x1b DISK (0)");
    EXPECT_EQ(went["placeHolders"],
              json({"Windows Advanced Host Controller Interface (0)", "0", "FW0001", "S0"}));
    EXPECT_EQ(went["present"], false);
    EXPECT_EQ(went["kind"], "gone");
    EXPECT_EQ(went["serial"], "S0");
    EXPECT_GT(went["time"], 1600000000000);
    PutNumbers({0, 7});
    const json came = json::parse(watch.LineWith("{"));
    EXPECT_EQ(came["object"], "0x0131000000000004");
    EXPECT_EQ(came["present"], true);
    EXPECT_EQ(watch.End(SIGTERM), 0);
}

TEST(WatchVerb, TellsOnceOfTroubleAndItsEnd)
{
    testFolder.Write("tarnis.ini", "PollInterval=2\n");
    const std::string machine = testFolder.File("w\u202e.json");
    std::filesystem::rename(PutNumbers({0}), machine);
    const std::string folder = testFolder.File("folder");
    std::filesystem::create_directory(folder);
    Running watch({"watch", "--for", "60", "--machine", machine, "--database", folder});
    EXPECT_TRUE(watch.LineWith("").starts_with("tarnisctl: " + folder + ": not a regular file; "));
    watch.LineWith("watching 1 drive every 2 s, ");
    watch.LineWith("No drive can be judged");
    std::ofstream(machine) << "{"; // a pass later the database has been refused again
    const std::string warning = watch.LineWith("");
    EXPECT_TRUE(Holds(warning, "w\\u202e.json") && Holds(warning, "last good version")) << warning;
    std::filesystem::remove(folder);
    EXPECT_EQ(watch.LineWith(""), "tarnisctl: the database: rows are written again\n");
    EXPECT_EQ(watch.End(SIGINT), 0);
}

TEST(WatchVerb, TellsWhatBecomesOfADrive)
{
    testFolder.Write("tarnis.ini", "PollInterval=2\n");
    const json well = Support::Disk(0);
    json silent = well;
    silent["faults"] = {"identify"};
    json other = well;
    other["identify"] = Support::Identity("INTEL SSDSC2BB240G7", "OTHÉR");
    json moved = Support::Disk(5);
    moved["identify"] = other["identify"];
    json worn = Support::Disk(6);
    worn["smart"] = Support::SmartPage({{9, 100, 8000}, {233, 1, 0}});
    const std::tuple<std::vector<json>, std::vector<std::string>> steps[] = {
        {{silent}, {"!! ", "drive in trouble: disk0 ", "serial SERIAL0", "I/O error"}},
        {{well}, {"drive well again: disk0 ", "was no answer"}},
        {{other}, {"drive replaced: disk0 ", "serial OTH\\u00c9R", "serial SERIAL0"}},
        {{moved}, {"drive has another number: disk5 ", "was disk0, is disk5"}},
        {{moved, worn}, {"drive came: disk6 ", "serial SERIAL6"}},
        {{moved, worn}, {"!! ", "drive in trouble: disk6 ", "endurance used 99 % (attribute 233)"}},
        {{worn}, {"!! ", "drive gone: disk5 "}},
    };
    Running watch({"watch", "--ignore", "NONE", "--machine", PutMachine({well})},
                  {{"LC_ALL", "C"}});
    watch.LineWith("No drive can be judged");
    for (const auto& [disks, pieces] : steps)
    {
        PutMachine(disks);
        const std::string line = watch.LineWith(""); // nothing else tells of it
        for (const std::string& piece : pieces)
            EXPECT_TRUE(Holds(line, piece)) << piece << line;
    }
    EXPECT_EQ(watch.End(SIGINT), 0);
}

TEST(WatchVerb, TellsHowReadingsChange)
{
    testFolder.Write("tarnis.ini", "PollInterval=2\n");
    testFolder.Write("CustomOpts.ini", "WearLevelThreshold=60\nReservedCellsThreshold=30\n"
                                       "SnmpTrapReportTime1=00:00\nSnmpTrapReportTime2=00:00\n");
    const auto ssd = [](int left)
    {
        json disk = Support::Disk(0);
        disk["smart"] = Support::SmartPage({{9, 100, 8000}, {233, left, 0}});
        return disk;
    };
    const auto hardDisk = [](int spare, std::uint64_t pending)
    {
        json disk = Support::Disk(1);
        disk["identify"] = Support::Identity("ST3500418AS", "HDD1", 7200);
        disk["smart"] = Support::SmartPage({{5, spare, 9}, {9, 90, 5000}, {197, 100, pending}});
        return disk;
    };
    json mute = hardDisk(55, 4);
    mute["faults"] = {"smart_data"};
    // The last page of a disk holds for five minutes.
    const std::tuple<std::vector<json>, std::vector<std::string>> steps[] = {
        {{ssd(30), hardDisk(100, 0)},
         {"warning: disk0 ", "was in use, is in use, warning: endurance used 70 % (attribute 233), "
                             "threshold 60"}},
        {{ssd(3), hardDisk(100, 0)},
         {"!! ", "drive in trouble: disk0 ", "is failing: endurance used 97 % (attribute 233)"}},
        {{ssd(3), hardDisk(100, 4)},
         {"errors rose: disk1 ", "pending sectors (attribute 197) from 0 to 4"}},
        {{ssd(3), hardDisk(55, 4)}, {"warning: disk1 ", "reserve left 29 % (attribute 5)"}},
        {{ssd(3), mute}, {"readings lost: disk1 ", "not judged: it gives no SMART page"}},
        {{ssd(50), hardDisk(100, 4)},
         {"drive well again: disk0 ",
          "was failing, is in use: endurance used 50 % (attribute 233)\n"}},
        {{ssd(50), hardDisk(100, 4)},
         {"readings back: disk1 ", "is in use: reserve left 100 % (attribute 5)\n"}},
    };
    SetClockAhead(0);
    Running watch({"watch", "--machine", PutMachine({ssd(50), hardDisk(100, 0)})}, ShiftedClock());
    watch.LineWith("No trouble: 2 drives judged");
    long ahead = 0;
    for (const auto& [disks, pieces] : steps)
    {
        PutMachine(disks);
        SetClockAhead(ahead += 301);
        const std::string line = watch.LineWith(""); // nothing else tells of it
        for (const std::string& piece : pieces)
            EXPECT_TRUE(Holds(line, piece)) << piece << line;
    }
    EXPECT_EQ(watch.End(SIGINT), 0);
    std::filesystem::remove(testFolder.File("CustomOpts.ini"));
}

TEST(WatchVerb, StandingTroubleIsRepeatedAtReportTimesAsAReminder)
{
    testFolder.Write("tarnis.ini", "PollInterval=2\n");
    json worn = Support::Disk(0);
    worn["smart"] = Support::SmartPage({{9, 100, 8000}, {233, 1, 0}});
    SetClockAhead(0);
    Environment environment = ShiftedClock();
    environment.emplace_back("TZ", "UTC");
    Running watch({"watch", "--machine", PutMachine({worn})}, environment);
    watch.LineWith("1 of 1 drive in trouble");
    PutMachine({worn, Support::Disk(1)});
    watch.LineWith("drive came: disk1 "); // the first pass is over
    constexpr long day = 24 * 3600;
    constexpr long reportTime = 11 * 3600;
    SetClockAhead((reportTime - std::time(nullptr) % day + day) % day + 1);
    EXPECT_TRUE(Holds(watch.LineWith("11:00:0"), "reminder: disk0 "));
    EXPECT_EQ(watch.End(SIGINT), 0);
}

TEST(WatchVerb, WithoutAThreadNothingIsWatched)
{
    const std::string machine = PutNumbers({0});
    Environment environment = ShiftedClock();
    environment.emplace_back("FAULTS", "pthread_create:1:always");
    const Outcome outcome = RunTarnisctl({"watch", "--machine", machine}, environment);
    ExpectComplaint(outcome, 3, "nothing is watched: the system gave no thread");
    EXPECT_EQ(RunTarnisctl({"show", "--machine", machine}, environment).exitCode, 0);
}

TEST(WatchVerb, EndsByItself)
{
    const Outcome timed =
        RunTarnisctl({"watch", "--for", "1", "--json", "--machine", PutNumbers({0})});
    EXPECT_EQ(timed.exitCode, 0);
    EXPECT_EQ(CountLines(timed.out), 1U); // how things stand
}
