// The worker's passes on real threads: what the host is told, when, and that nothing else happens.
// Time is skipped, not waited for.
#include "tests/support/DriveModel.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/SteppedPlugin.h"

#include <atomic>
#include <thread>

using namespace Support;
using namespace std::chrono_literals;

namespace
{

constexpr int RandomSteps = 1000 / Slowness;

using Texts = std::vector<std::string>;

} // namespace

class Watch : public SteppedTest
{
  protected:
    /// Starts, and gives the events of the first pass, which comes 100 ms later.
    Texts Start(const nlohmann::json& machine)
    {
        UseMachine(machine);
        StartPlugin();
        return Pass();
    }

    Texts Pass()
    {
        EXPECT_TRUE(m_Plugin->Pass());
        return Collected();
    }

    Texts Collected()
    {
        Texts texts;
        EXPECT_EQ(Execute(PI::OP_GET_EVENTS, m_Events), PI::ERR_SUCCESS);
        for (const PI::CEvent& event : m_Events)
            texts.push_back(EventText(event));
        return texts;
    }

    /// Has one of three drives answer late from the second pass on.
    Platform::SimulatedMachine& StartWithADelay(int milliseconds)
    {
        nlohmann::json machine = MachineOf(3);
        EXPECT_EQ(Start(machine), Texts());
        machine["disks"][1]["delay_ms"] = {{"identify", milliseconds}};
        return UseMachine(machine);
    }

    /// Lets the worker run into a disk that takes its time.
    void Hang(Platform::SimulatedMachine& simulated, unsigned disk)
    {
        const auto before = simulated.JournalCount(disk, Platform::DriveCall::Identify);
        m_Plugin->Release();
        while (simulated.JournalCount(disk, Platform::DriveCall::Identify) == before)
        {
            ZKT::Internals::SkipTime(30s);
            std::this_thread::sleep_for(10ms);
        }
    }

    /// Command 3, while somebody moves the clocks.
    template <class Move> void Stop(Move move)
    {
        std::atomic<bool> stopped = false;
        std::thread clock(
            [&]
            {
                for (; !stopped; std::this_thread::sleep_for(1ms))
                    move();
            });
        m_Plugin->Stop();
        stopped = true;
        clock.join();
    }

    std::vector<PI::CEvent> m_Events; ///< as they were collected last
};

// Random changes of 64 disks against a small model of what must come.
TEST_F(Watch, EveryEventExactlyOnce)
{
    RandomDrives machine(20261122);
    ExpectedInstance expected;
    EXPECT_EQ(Start(MachineHolding(machine.drives)), Texts());
    for (int step = 0; step < RandomSteps; ++step)
    {
        machine.Change();
        UseMachine(MachineHolding(machine.drives));
        AdvanceClock(Day); // SMART pages are read anew
        expected.Pass(machine.drives, false);
        Pass();
        ASSERT_EQ(ExpectedInstance::Texts(m_Events), expected.TakeEvents()) << "step " << step;
        ASSERT_EQ(ExpectedInstance::TextOf(m_Plugin->plugin.Topology()), expected.Text());
    }
}

TEST_F(Watch, TheHostsNumberStaysInTheAdaptersName)
{
    UseMachine(MachineHolding(Drives()));
    m_Plugin = std::make_unique<SteppedPlugin>();
    ASSERT_TRUE(m_Plugin->Start(9));
    UseMachine(MachineHolding(Drives{{1, {"A"}}}));
    const std::string name = "Windows Advanced Host Controller Interface (9)";
    EXPECT_EQ(Pass(), Texts{Came(1, "A")});
    EXPECT_EQ(m_Events.at(0).GetPlaceHolder1(), name);
    EXPECT_EQ(ValueText(m_Plugin->plugin.Topology().at(1), PI::PROP_NAME), "text:" + name);
}

TEST_F(Watch, ANewIntervalTakesEffectAtOnce)
{
    EXPECT_EQ(Start(MachineHolding({{0, {"A"}}})), Texts());
    UseMachine(MachineHolding(Drives()));
    EXPECT_EQ(SetInterval(100), PI::ERR_SUCCESS);
    EXPECT_TRUE(m_Plugin->Rings(60s));
    EXPECT_EQ(Collected(), Texts()) << "a new interval is no pass";
    EXPECT_FALSE(m_Plugin->Rings(50ms)); // the worker goes back to its wait
    ZKT::Internals::SkipTime(99s);
    EXPECT_FALSE(m_Plugin->Rings(200ms));
    ZKT::Internals::SkipTime(2s);
    EXPECT_TRUE(m_Plugin->Rings(60s));
    EXPECT_EQ(Collected(), Texts{Came(0, "A")});

    // What a host may store beyond the bounds: never a busy loop.
    EXPECT_EQ(SetInterval(0), PI::ERR_SUCCESS);
    EXPECT_TRUE(m_Plugin->Rings(60s));
    EXPECT_FALSE(m_Plugin->Rings(300ms));
    EXPECT_EQ(SetInterval(4294968), PI::ERR_SUCCESS); // its milliseconds do not fit
    EXPECT_TRUE(m_Plugin->Rings(60s));
    EXPECT_FALSE(m_Plugin->Rings(50ms));
    ZKT::Internals::SkipTime(24h);
    EXPECT_FALSE(m_Plugin->Rings(50ms));
}

TEST_F(Watch, StandingConditionsAtReportTimes)
{
    // Berlin changes its clocks on 2026-03-29 at 01:00 UTC, from 02:00 to 03:00.
    SetZone("CET-1CEST,M3.5.0,M10.5.0/3");
    m_Folder.Write("CustomOpts.ini", "WearLevelThreshold=97\nReservedCellsThreshold=0\n"
                                     "SnmpTrapReportTime1=11:00\nSnmpTrapReportTime2=2:30\n");
    const Texts report = {Failing(1), Failing(7), Worn(7)};
    const auto set = [](const char* utc)
    {
        int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
        std::sscanf(utc, "%d-%d-%d %d:%d:%d", &year, &month, &day, &hour, &minute, &second);
        const std::chrono::sys_days date = std::chrono::year(year) / month / day;
        const auto time = date.time_since_epoch() + std::chrono::hours(hour) +
                          std::chrono::minutes(minute) + std::chrono::seconds(second);
        SetClock(static_cast<std::uint64_t>(std::chrono::milliseconds(time).count()));
    };
    set("2026-01-15 20:00:00"); // the first pass reports at any time of day
    EXPECT_EQ(Start(MachineHolding({{1, {"A", 97}}, {7, {"B", 98, 30, true}}, {8, {"C", 95}}})),
              report);

    const std::pair<const char*, bool> passes[] = {
        {"2026-01-16 09:59:50", false}, // 10:59 local
        {"2026-01-16 10:00:20", true},  // 11:00
        {"2026-01-16 10:00:50", false}, {"2026-01-16 10:01:20", false},
        {"2026-01-17 10:00:00", true},  // a day later, stepping over the night
        {"2026-01-18 10:00:59", false}, // the same minute of two days: no step into it
        {"2026-01-18 01:30:00", true},  // 02:30
        {"2026-01-18 23:59:59", false}, {"2026-01-19 00:00:01", false},
        {"2026-03-29 00:59:59", false}, // 01:59, and there is no 02:30 that night
        {"2026-03-29 01:00:00", false}, {"2026-03-29 01:30:00", false}, // 03:00, 03:30
        {"2026-03-29 09:00:00", true},                                  // 11:00 of summer time
        {"2026-03-29 10:00:00", false},                                 // 12:00
        {"2026-10-25 00:30:00", true},                                  // 02:30 of summer time
        {"2026-10-25 00:31:00", false}, {"2026-10-25 01:30:00", true},  // 02:30 once more
        {"2026-10-25 00:30:30", false}, // set back by an hour, into the same minute
        {"2026-10-24 23:30:30", false}, {"2026-10-25 00:30:00", true},
        {"2025-10-26 10:00:00", true}, // set back by a year, to 11:00
        {"2025-10-26 10:01:00", false},
    };
    for (const auto& [utc, reports] : passes)
    {
        set(utc);
        EXPECT_EQ(Pass(), reports ? report : Texts()) << utc;
    }
}

TEST_F(Watch, ReportsByDefaultsOfItsOwn)
{
    SetZone("UTC0");
    // At their limits, and one beyond them.
    std::vector<nlohmann::json> disks{Disk(0), Disk(1), Disk(2), Disk(3)};
    disks[0]["smart"] = SmartPage({{9, 100, 60000}, {233, 5, 0}});
    disks[1]["smart"] = SmartPage({{9, 100, 60000}, {233, 4, 0}});
    for (const auto& [disk, spare] : {std::pair{2U, 43}, {3U, 42}}) // 10 and 9 percent above 36
    {
        disks[disk]["identify"] = Identity("ST4000DM004", "S", 5425);
        disks[disk]["smart"] = SmartPage({{5, spare, 0}});
    }
    const std::string ssd = " INTEL SSDSC2BB240G7 (1) [1][][] severity 3";
    const std::string hardDisk = " SEAGATE ST4000DM004 (3) [3][][] severity 3";
    const Texts report = {"10045" + ssd, "11090" + ssd, "10045" + hardDisk, "11091" + hardDisk};
    const auto minute = [](std::uint64_t hour, std::uint64_t minutes)
    { return 1'768'608'000'000 + (hour * 60 + minutes) * 60'000; }; // of a day in UTC
    SetClock(minute(8, 0));
    EXPECT_EQ(Start(MachineWith(disks)), report);
    const std::tuple<int, int, bool> passes[] = {{10, 59, false}, {11, 0, true}, {11, 1, false},
                                                 {22, 59, false}, {23, 0, true}, {23, 1, false}};
    for (const auto& [hour, minutes, reports] : passes)
    {
        SetClock(minute(static_cast<std::uint64_t>(hour), static_cast<std::uint64_t>(minutes)));
        EXPECT_EQ(Pass(), reports ? report : Texts()) << hour << ':' << minutes;
    }
}

TEST_F(Watch, EventsWaitForAHostThatCollectsLate)
{
    EXPECT_EQ(Start(MachineHolding(Drives())), Texts());
    m_Plugin->plugin.Interface()->m_HostCallback = nullptr;
    m_Plugin->Release();
    // Nobody rings now, so the passes are seen in the topology.
    for (const Drives& drives : {Drives{{1, {"A"}}}, Drives()})
    {
        UseMachine(MachineHolding(drives));
        const std::size_t count = drives.size() + 2;
        for (int tries = 0; m_Plugin->plugin.Topology().size() != count && tries < 30000; ++tries)
        {
            ZKT::Internals::SkipTime(30s);
            std::this_thread::sleep_for(5ms);
        }
    }
    EXPECT_EQ(Collected(), (Texts{Came(1, "A"), Came(1, "A")}));
    EXPECT_EQ(Collected(), Texts());
}

TEST_F(Watch, ASlowDriveDelaysAndBreaksNothing)
{
    StartWithADelay(700);
    const std::string before = Picture();
    std::thread host([&] { EXPECT_EQ(Picture(), before); });
    EXPECT_EQ(Pass(), Texts());
    host.join();
    EXPECT_EQ(Picture(), before);
}

TEST_F(Watch, AStopLeavesASlowPassItsTimeWhateverTheClockShows)
{
    EXPECT_EQ(Start(MachineHolding(Drives())), Texts());
    nlohmann::json machine = MachineHolding(Drives{{1, {"A"}}});
    machine["disks"][0]["delay_ms"] = {{"identify", 1000}};
    Hang(UseMachine(machine), 1);
    Stop([step = Day]() mutable { AdvanceClock(step = -step); });
    EXPECT_EQ(Collected(), Texts{Came(1, "A")});
}

TEST_F(Watch, ADriveThatHangsIsLeftBehind)
{
    Platform::SimulatedMachine& machine = StartWithADelay(60000);
    const std::string before = Picture();
    Hang(machine, 1);
    // The 25 seconds of patience pass on the toolkit's clock.
    const auto start = std::chrono::steady_clock::now();
    std::chrono::milliseconds skipped = 0ms;
    Stop(
        [&]
        {
            ZKT::Internals::SkipTime(50ms);
            skipped += 50ms;
        });
    const auto patience = skipped + (std::chrono::steady_clock::now() - start);
    EXPECT_GT(patience, 24s);
    EXPECT_LT(patience, 40s);
    EXPECT_EQ(Collected(), Texts()) << "what was not asked any more did not go";
    EXPECT_EQ(Picture(), before);
}
