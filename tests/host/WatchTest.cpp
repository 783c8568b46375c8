// Watching, with the real plug-in and a machine file that changes under it.
#include "tests/host/Process.h"
#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdio>
#include <fstream>

#include <fcntl.h>
#include <unistd.h>

namespace
{

using nlohmann::json;

/// Machine of these disks, put in the place of the last one in one step.
std::string PutMachine(const std::vector<std::uint32_t>& numbers)
{
    std::vector<json> disks;
    for (const std::uint32_t number : numbers)
    {
        disks.push_back(Support::Disk(number));
        disks.back()["identify"] = Support::Identity("T\x1b DISK", "S" + std::to_string(number));
    }
    const std::string file = testFolder.File("watched.json");
    std::filesystem::rename(testFolder.Write("new", Support::MachineWith(disks).dump()), file);
    return file;
}

/// A tarnisctl that watches, its two outputs in one.
class Running
{
  public:
    explicit Running(const Arguments& arguments, const Environment& environment = {})
    {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        m_Child = StartTarnisctl(arguments, environment, ends[1], ends[1]);
        ::close(ends[1]);
        m_Output = ::fdopen(ends[0], "r");
    }
    ~Running()
    {
        std::fclose(m_Output);
        if (m_Child > 0)
            End(SIGKILL);
    }

    /// The next line that holds the text; what it skips must not speak of a disk.
    std::string LineWith(const std::string& text)
    {
        char line[4096];
        while (std::fgets(line, sizeof line, m_Output) != nullptr)
        {
            if (Holds(line, text))
                return line;
            EXPECT_FALSE(Holds(line, "DISK")) << line;
        }
        return "no line with " + text;
    }

    int End(int signal)
    {
        ::kill(m_Child, signal);
        return WaitFor(std::exchange(m_Child, -1));
    }

  private:
    pid_t m_Child = -1;
    std::FILE* m_Output = nullptr;
};

} // namespace

TEST(WatchVerb, PrintsDrivesThatComeAndGo)
{
    testFolder.Write("tarnis.ini", "PollInterval=2\n");
    const std::string machine = PutMachine({0, 1});
    {
        Running watch({"watch", "--machine", machine});
        watch.LineWith("watching 2 drives");
        PutMachine({0, 1, 7});
        EXPECT_TRUE(Holds(watch.LineWith("drive came"), ": disk7  T\\x1b DISK, serial S7"));
        PutMachine({0, 7});
        const std::string gone = watch.LineWith("drive gone");
        EXPECT_TRUE(gone.starts_with("!! ") && Holds(gone, ": disk1 ")) << gone;
        EXPECT_EQ(watch.End(SIGINT), 0);
    }
    // A trace bit that no trace line has: the plug-in's line at its start is shown.
    Running watch({"watch", "--json", "--machine", machine, "--trace-mask", "0x40000000"});
    watch.LineWith("adapter count is 1");
    PutMachine({7});
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
    PutMachine({0, 7});
    const json came = json::parse(watch.LineWith("{"));
    EXPECT_EQ(came["object"], "0x0131000000000004");
    EXPECT_EQ(came["present"], true);
    EXPECT_EQ(watch.End(SIGTERM), 0);
}

TEST(WatchVerb, TellsOnceOfTroubleAndItsEnd)
{
    testFolder.Write("tarnis.ini", "PollInterval=2\n");
    const std::string machine = testFolder.File("w\u202e.json");
    std::filesystem::rename(PutMachine({0}), machine);
    const std::string folder = testFolder.File("folder");
    std::filesystem::create_directory(folder);
    Running watch({"watch", "--for", "60", "--machine", machine, "--database", folder});
    EXPECT_TRUE(watch.LineWith("").starts_with("tarnisctl: " + folder + ": not a regular file; "));
    watch.LineWith("watching 1 drive");
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
    const auto put = [](std::vector<json> disks)
    {
        const std::string file = testFolder.File("becomes.json");
        std::filesystem::rename(testFolder.Write("new", Support::MachineWith(disks).dump()), file);
        return file;
    };
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
    Running watch({"watch", "--ignore", "NONE", "--machine", put({well})}, {{"LC_ALL", "C"}});
    watch.LineWith("No drive can be judged");
    for (const auto& [disks, pieces] : steps)
    {
        put(disks);
        const std::string line = watch.LineWith(""); // nothing else tells of it
        for (const std::string& piece : pieces)
            EXPECT_TRUE(Holds(line, piece)) << piece << line;
    }
    EXPECT_EQ(watch.End(SIGINT), 0);
}

TEST(WatchVerb, EndsByItself)
{
    const Outcome timed =
        RunTarnisctl({"watch", "--for", "1", "--json", "--machine", PutMachine({0})});
    EXPECT_EQ(timed.exitCode, 0);
    EXPECT_EQ(timed.out, "");
}
