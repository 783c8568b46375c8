// The command that a watch runs: a script here, which notes what it was told.
#include "tests/host/Running.h"
#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>

#include <sys/stat.h>

namespace
{

using nlohmann::json;

json Well(std::uint32_t number)
{
    return Support::Disk(number);
}

json Silent(std::uint32_t number)
{
    json disk = Well(number);
    disk["faults"] = {"identify"};
    return disk;
}

json Failing(std::uint32_t number, int used = 99)
{
    json disk = Well(number);
    disk["smart"] = Support::SmartPage({{9, 100, 8000}, {233, 100 - used, 0}});
    return disk;
}

std::string Script(const std::string& name, const std::string& text)
{
    const std::string file = testFolder.Write(name, "#!/bin/sh\n" + text);
    ::chmod(file.c_str(), 0700);
    return file;
}

/// Notes a line for each call in the file "calls".
std::string NotingScript(const std::string& rest = "")
{
    return Script(
        "note", "echo \"$TARNIS_ALARM $TARNIS_ALARM_STATE $TARNIS_ALARM_DISK\" >> calls\n" + rest);
}

/// Waits until the script has noted so many lines. @return all of them
std::string CallsOnce(std::size_t count)
{
    std::string calls;
    for (int i = 0; i < 200 && CountLines(calls) < count; ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        calls = testFolder.Read("calls");
    }
    return calls;
}

/// What was told stands in a file for each command.
std::optional<std::string> BookFile()
{
    for (const auto& entry : std::filesystem::directory_iterator(testFolder.Path()))
        if (entry.path().filename().string().starts_with("tarnisctl-watch-"))
            return entry.path().string();
    return std::nullopt;
}

/// A fresh book, settings and script.
class AlarmVerb : public testing::Test
{
  protected:
    void SetUp() override
    {
        while (const auto file = BookFile())
            std::filesystem::remove(*file);
        testFolder.Write("calls", "");
        testFolder.Write("tarnis.ini", "PollInterval=2\n");
        SetClockAhead(0);
    }

    static Arguments Watch(const Arguments& options)
    {
        Arguments all{"watch", "--machine", testFolder.File("machine.json")};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }
};

} // namespace

TEST_F(AlarmVerb, IsToldOnceOfTroubleAndOfItsEnd)
{
    const Arguments arguments = Watch({"--exec", NotingScript(), "--ignore", "SERIAL8"});
    json other = Well(3);
    other["identify"] = Support::Identity("INTEL SSDSC2BB240G7", "OTHER");
    PutMachine({Well(0), Well(1), Failing(2), Well(3), Failing(8)});
    {
        Running watch(arguments, ShiftedClock());
        const std::pair<std::vector<json>, std::string> steps[] = {
            {{Well(0), Well(1), Failing(2), Well(3)}, "started trouble disk2\n"},
            {{Silent(0), Well(1), Failing(2), Well(3)}, "started trouble disk0\n"},
            {{Well(0), Well(1), Failing(2), Well(3)}, "ended recovered disk0\n"},
            {{Well(0), Failing(2), Well(3)}, "started gone disk1\n"},
            {{Well(0), Well(1), Failing(2), Well(3)}, "ended recovered disk1\n"},
            {{Well(0), Well(1), Failing(2)}, "started gone disk3\n"},
        };
        std::string expected;
        for (const auto& [disks, call] : steps)
        {
            PutMachine(disks);
            expected += call;
            EXPECT_EQ(CallsOnce(CountLines(expected)), expected);
        }
        // The same trouble within a day is no news, and neither is its end.
        PutMachine({Silent(0), Well(1), Failing(2)});
        // Another drive takes the place of the one that was missed.
        PutMachine({Silent(0), Well(1), Failing(2), other});
        expected += "ended replaced disk3\n";
        EXPECT_EQ(CallsOnce(CountLines(expected)), expected);
        // After a day it is told again, as new where its end was told.
        SetClockAhead(24 * 3600 + 10);
        EXPECT_EQ(CallsOnce(CountLines(expected) + 2).size(),
                  (expected + "started trouble disk0\nreminder trouble disk2\n").size());
        EXPECT_EQ(watch.End(SIGINT), 0);
    }
    // What was told survives a restart.
    testFolder.Write("calls", "");
    Running again(arguments, ShiftedClock());
    again.LineWith("2 of 4 drives in trouble");
    PutMachine({Well(0), Well(1), Failing(2), other});
    EXPECT_EQ(CallsOnce(1), "ended recovered disk0\n");
    EXPECT_EQ(again.End(SIGTERM), 0);
}

// Drives that silence, a missing serial number or another number make hard to know again.
TEST_F(AlarmVerb, KnowsADriveAgain)
{
    const auto nameless = [](json disk)
    {
        disk["identify"]["serial"] = "";
        return disk;
    };
    const auto twin = [](json disk)
    {
        disk["identify"] = Well(1)["identify"];
        return disk;
    };
    json mute = Well(4);
    mute["faults"] = {"smart_data"};
    const json start[] = {nameless(Well(0)), Well(1), twin(Well(2)), Silent(3), Failing(4)};
    PutMachine({start[0], start[1], start[2], start[3], start[4]});
    Running watch(Watch({"--exec", NotingScript()}), ShiftedClock());
    EXPECT_TRUE(Holds(CallsOnce(2), "started trouble disk4\n"));
    const std::pair<std::vector<json>, std::string> steps[] = {
        {{nameless(Silent(0)), start[1], start[2], start[3], start[4]}, "started trouble disk0\n"},
        {{start[0], start[1], start[2], start[3], start[4]}, "ended recovered disk0\n"},
        {{start[0], start[1], start[2], Well(3), start[4]}, "ended recovered disk3\n"},
        {{start[0], start[2], Well(3), start[4]}, "started gone disk1\n"},
        // The number that disk0 leaves is taken by a drive that was there.
        {{twin(Well(0)), Well(3), start[4]}, "started gone disk0\n"},
        // Trouble that silence covers is not ended by a drive that speaks without readings.
        {{twin(Well(0)), Well(3), Silent(4)}, "started trouble disk4\n"},
        {{twin(Well(0)), Well(3), mute, Silent(7)}, "started trouble disk7\n"},
        {{twin(Well(0)), Well(3), Failing(4, 50), Silent(7)}, "ended recovered disk4\n"},
    };
    std::string expected = CallsOnce(2);
    long ahead = 0;
    for (const auto& [disks, call] : steps)
    {
        PutMachine(disks);
        SetClockAhead(ahead += 301); // no page is older
        expected += call;
        ASSERT_EQ(CallsOnce(CountLines(expected)), expected);
    }
    EXPECT_EQ(watch.End(SIGINT), 0);
}

TEST_F(AlarmVerb, NeverHoldsUpTheWatch)
{
    // One at a time for a drive, killed after its time with what it started, and reported.
    PutMachine({Silent(0), Well(1)});
    Running watch(Watch({"--exec", NotingScript("sleep 60 & sleep 60\n"), "--exec-timeout", "8"}));
    EXPECT_EQ(CallsOnce(1), "started trouble disk0\n");
    watch.LineWith("1 of 2 drives in trouble");
    PutMachine({Well(0), Well(1)});
    EXPECT_TRUE(Holds(watch.LineWith("disk0"), "drive well again"));
    PutMachine({Well(0)});
    EXPECT_TRUE(Holds(watch.LineWith("disk1"), "drive gone"));
    EXPECT_EQ(CallsOnce(2), "started trouble disk0\nstarted gone disk1\n");
    EXPECT_TRUE(Holds(watch.LineWith("disk0"),
                      "--exec for disk0 (started): the command was killed after 8 s"));
    EXPECT_EQ(watch.End(SIGINT), 0);
}

TEST_F(AlarmVerb, FailuresAreToldAndLeaveTheTroubleUntold)
{
    PutMachine({Silent(0)});
    for (int run = 0; run < 2; ++run)
    {
        Running watch(Watch({"--exec", NotingScript("exit 3\n")}));
        EXPECT_TRUE(Holds(watch.LineWith("--exec for"), "disk0 (started): the command ended with "
                                                        "exit code 3"));
        EXPECT_EQ(watch.End(SIGINT), 0);
    }
    EXPECT_EQ(testFolder.Read("calls"), "started trouble disk0\nstarted trouble disk0\n");
    // A file of the state that is no such file is begun anew.
    ASSERT_TRUE(BookFile());
    std::ofstream(*BookFile()) << R"({"version": 1, "drives": [7]})";
    Running watch(Watch({"--exec", NotingScript()}));
    EXPECT_TRUE(Holds(watch.LineWith("tarnisctl-watch-"), "told once more"));
    EXPECT_EQ(CallsOnce(3),
              "started trouble disk0\nstarted trouble disk0\nstarted trouble disk0\n");
}

TEST_F(AlarmVerb, ValuesAreSafeForAShell)
{
    json evil = Failing(0);
    evil["identify"] = Support::Identity("INTEL SSDSC2BB`id`$(id);'\"\x1b|&<>*", "-S\\\n\xC3\xA9!");
    PutMachine({evil});
    const std::string script =
        Script("print", "for v in MODEL SERIAL LINE TO TIME_MS; do eval echo $v "
                        "\\\"\\$TARNIS_ALARM_$v\\\" >> calls; done\n");
    // Values of the watch's own environment are no values of the alarm.
    Running watch(Watch({"--exec", "sh -c \"" + script + "\""}), {{"TARNIS_ALARM_TO", "nowhere"}});
    const std::string calls = CallsOnce(5);
    for (const char* line : {"MODEL INTEL SSDSC2BB_id__(id);________\n", "SERIAL _S____",
                             "TO failing\n", "LINE drive in "})
        EXPECT_TRUE(Holds(calls, line)) << line << calls;
    EXPECT_EQ(calls.find_first_of("$`'\"\x1b|&<>*\\\xC3!"), std::string::npos) << calls;
}

TEST_F(AlarmVerb, CommandsThatCannotRunAreRefused)
{
    PutMachine({Well(0)});
    const std::pair<Arguments, std::string> cases[] = {
        {{"--exec", ""}, "the command is empty"},
        {{"--exec", "  "}, "names no program"},
        {{"--exec", "/tmp"}, "there is no program /tmp"},
        {{"--exec", "echo a | cat"}, "needs a shell for |"},
        {{"--exec", "echo $HOME"}, "needs a shell for $"},
        {{"--exec", "sh -c 'x"}, "a quote that is not closed"},
        {{"--exec", "no-such-program x"}, "there is no program no-such-program"},
        {{"--exec", "true", "--remind", "soon"}, "--remind 'soon' is no time"},
        {{"--exec", "true", "--exec-timeout", "0"}, "--exec-timeout '0' is no time"},
        {{"--remind", "2h"}, "--exec"},
    };
    for (const auto& [options, said] : cases)
        ExpectComplaint(RunTarnisctl(Watch(options)), 1, said);
}
