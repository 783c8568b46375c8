// The worker's passes on real threads: what the host is told, when, and that nothing else happens.
// Time is skipped, not waited for.
#include "libraries/zelKit/Clock.h"
#include "platform/WindowsApi.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/MemoryMachine.h"
#include "tests/support/PluginTest.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include <time.h>

using namespace Support;
using namespace std::chrono_literals;

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int RandomSteps = 1000; // ten times as slow there
#else
constexpr int RandomSteps = 10000;
#endif

constexpr std::int64_t Day = 86400000; // ms

std::string EventText(const PI::CEvent& event)
{
    return std::to_string(event.m_EventID) + ' ' + event.GetSource() + " [" +
           event.GetPlaceHolder2() + "][" + event.GetPlaceHolder3() + "][" +
           event.GetPlaceHolder4() + "] severity " + std::to_string(event.m_Severity);
}

std::string Came(unsigned disk, const std::string& serial)
{
    const std::string number = std::to_string(disk);
    return "10920 CRUCIAL CT480MX500SSD1 (" + number + ") [" + number + "][FW1][" + serial +
           "] severity 2";
}

std::string Failing(unsigned disk)
{
    const std::string number = std::to_string(disk);
    return "10045 CRUCIAL CT480MX500SSD1 (" + number + ") [" + number + "][][] severity 3";
}

} // namespace

class Watch : public PluginTest
{
  protected:
    Watch()
    {
        setenv("TZ", "UTC", 1);
        tzset();
    }
    ~Watch() override
    {
        if (m_Plugin)
            Stop();
        unsetenv("TZ");
        tzset();
    }

    /// Starts on the memory machine and waits for the first pass, which comes 100 ms later.
    void Start(const MemoryMachine::Disks& disks)
    {
        m_Memory = std::make_shared<MemoryMachine>();
        m_Memory->Set(disks);
        Platform::SetCurrentMachine(m_Memory);
        StartOnCurrentMachine();
        EXPECT_EQ(Pass(100ms), m_First);
    }

    void StartOnCurrentMachine()
    {
        m_Plugin = std::make_unique<LoadedPlugin>();
        m_Plugin->Interface()->m_HostContext = this;
        m_Plugin->Interface()->m_HostCallback = &Watch::Ring;
        ASSERT_EQ(m_Plugin->Initialize(), PI::ERR_SUCCESS);
        ASSERT_EQ(m_Plugin->Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &m_Plugin->adapterIDs),
                  PI::ERR_SUCCESS);
    }

    /// Starts on three drives, and has one of them answer late from the second pass on.
    Platform::SimulatedMachine& StartWithADelay(int milliseconds)
    {
        nlohmann::json machine = MachineOf(3);
        UseMachine(machine);
        StartOnCurrentMachine();
        EXPECT_EQ(Pass(100ms), std::vector<std::string>());
        machine["disks"][1]["delay_ms"] = {{"identify", milliseconds}};
        return UseMachine(machine);
    }

    void Stop()
    {
        EXPECT_EQ(m_Plugin->Command(PI::COMMAND_DEINITIALIZE), PI::ERR_SUCCESS);
        m_Plugin.reset();
        EXPECT_EQ(Platform::OpenHandleCount(), 0U);
    }

    /// Skips time until the next pass has rung, and gives the texts of the events it brought.
    std::vector<std::string> Pass(std::chrono::milliseconds interval = 30s)
    {
        {
            std::unique_lock guard(m_Lock);
            const int before = m_Rings;
            // The worker may still be on its way back to its wait: then the time skipped so far
            // lies before the interval that it starts there. The lock keeps it from ringing between
            // the look and the skip, which would start a second pass.
            for (int tries = 0; m_Rings == before && tries < 30000; ++tries)
            {
                ZKT::Internals::SkipTime(interval);
                m_Rung.wait_for(guard, 2ms, [&] { return m_Rings != before; });
            }
            EXPECT_EQ(m_Rings, before + 1);
            m_Answered = m_Rings;
        }
        return Collected();
    }

    /// The drives of the topology by disk number.
    std::map<unsigned, PI::CObject> Drives() const
    {
        std::map<unsigned, PI::CObject> drives;
        for (const PI::CObject& object : m_Plugin->Topology())
            if (object.m_Type == PI::OBJECT_PHYSICAL_DRIVE)
                drives[static_cast<unsigned>(
                    std::stoul(ValueText(object, PI::PROP_DEVICE_NUMBER).substr(7)))] = object;
        return drives;
    }

    std::vector<std::string> Collected()
    {
        const std::lock_guard guard(m_Lock);
        std::vector<std::string> texts;
        m_LastEvents = std::move(m_Collected);
        m_Collected.clear();
        for (const PI::CEvent& event : m_LastEvents)
            texts.push_back(EventText(event));
        return texts;
    }

    /// Whether the doorbell rings within a while, or has rung since it was last asked about.
    bool Rings(std::chrono::milliseconds patience)
    {
        std::unique_lock guard(m_Lock);
        const bool rung = m_Rung.wait_for(guard, patience, [&] { return m_Rings != m_Answered; });
        m_Answered = m_Rings;
        return rung;
    }

    std::int32_t SetInterval(int seconds)
    {
        PI::CProperty interval(PI::PROP_POLL_INTERVAL, true);
        interval.SetValue(seconds, 0, 1000, 1U);
        return m_Plugin->Command(PI::COMMAND_SET_PROPERTY, PluginId, &interval);
    }

    std::unique_ptr<LoadedPlugin> m_Plugin;
    std::shared_ptr<MemoryMachine> m_Memory;
    std::vector<std::string> m_First; ///< events expected of the first pass
    std::vector<PI::CEvent> m_LastEvents;

  private:
    /// Collects from inside the doorbell, where no lock is held.
    static void Ring(void* context, IPLUGINAPI* plugin)
    {
        auto& test = *static_cast<Watch*>(context);
        PI::COperation collect(PI::OP_GET_EVENTS);
        EXPECT_EQ(plugin->Command(PI::COMMAND_EXECUTE_OPERATION, PluginId, &collect),
                  PI::ERR_SUCCESS);
        const std::lock_guard guard(test.m_Lock);
        test.m_Collected.insert(test.m_Collected.end(), collect.m_Events.begin(),
                                collect.m_Events.end());
        ++test.m_Rings;
        test.m_Rung.notify_all();
    }

    std::mutex m_Lock;
    std::condition_variable m_Rung;
    int m_Rings = 0;
    int m_Answered = 0;
    std::vector<PI::CEvent> m_Collected;
};

TEST_F(Watch, DrivesComeGoAndChangePlaces)
{
    using Texts = std::vector<std::string>;
    MemoryMachine::Disks disks = {{0, {"A"}}, {2, {"C"}}, {3, {"D", 0, 30, true}}};
    Start(disks);
    const auto idOf = [this](unsigned disk) { return Drives()[disk].m_ID; };
    const auto step = [&](const Texts& expected)
    {
        AdvanceClock(Day); // SMART pages are read anew
        m_Memory->Set(disks);
        EXPECT_EQ(Pass(), expected);
    };
    const std::uint64_t idOfC = idOf(2);

    disks[1] = {"B"};
    step({Came(1, "B")});
    EXPECT_EQ(m_LastEvents.at(0).m_ObjectID, idOf(1));
    EXPECT_EQ(idOf(1), FirstDriveId + 3);

    disks.erase(2);
    step({Came(2, "C")}); // a reader tells it from an arrival by the topology
    EXPECT_EQ(m_LastEvents.at(0).m_ObjectID, idOfC);
    EXPECT_EQ(idOf(2), 0U);

    disks[2] = {"C"};
    step({Came(2, "C")});
    EXPECT_EQ(idOf(2), FirstDriveId + 4); // never the id that it had

    const std::uint64_t idOfA = idOf(0);
    disks[0].serial = "X"; // swapped under its number
    step({});
    EXPECT_EQ(idOf(0), idOfA);

    disks[0].wear = disks[3].wear = 97;
    step({Failing(0)}); // of a drive in use it is told at report times alone
    step({});
    disks[0].wear = 0;
    step({});
    disks[0].wear = 96;
    step({Failing(0)});

    disks = {{4, {"new", 99}}, {5, {"newer"}}, {1, {"B", 98}}};
    step({Came(4, "new"), Came(5, "newer"), Came(0, "X"), Came(2, "C"), Came(3, "D"), Failing(1)});
    disks.clear();
    step({Came(1, "B"), Came(4, "new"), Came(5, "newer")});
    EXPECT_EQ(m_Plugin->Topology().size(), 2U);
}

// Random changes of 64 disks against a small model of what must come.
TEST_F(Watch, EveryEventExactlyOnce)
{
    std::mt19937 random(20261122);
    const auto pick = [&](unsigned of) { return static_cast<unsigned>(random() % of); };
    MemoryMachine::Disks disks;
    Start(disks);
    std::map<unsigned, std::uint64_t> ids;
    std::map<std::uint64_t, std::uint64_t> counts;
    std::set<std::uint64_t> used;
    int serial = 0;
    const auto status = [](const MemoryDisk& disk) {
        return disk.wear >= 96 ? 2 : disk.partitioned ? 1 : 0;
    };

    for (int step = 0; step < RandomSteps; ++step)
    {
        const MemoryMachine::Disks old = disks;
        std::set<unsigned> changed;
        for (unsigned change = pick(5); change > 0; --change)
        {
            const unsigned number = pick(64);
            const unsigned kind = pick(6);
            if (disks.count(number) == 0)
            {
                if (kind < 2)
                    disks[number] = {"S" + std::to_string(++serial),
                                     static_cast<std::uint8_t>(pick(120))};
                continue;
            }
            MemoryDisk& disk = disks[number];
            if (kind < 2)
                disks.erase(number);
            else if (kind == 2)
                disk.serial = "S" + std::to_string(++serial);
            else if (kind == 3)
                disk.wear = static_cast<std::uint8_t>(pick(2) ? 100 : 10);
            else if (kind == 4)
                disk.partitioned = !disk.partitioned;
            else
                ++disk.temperature %= 100;
        }

        std::vector<std::string> expected, failing;
        for (const auto& [number, disk] : disks)
            if (old.count(number) == 0)
                expected.push_back(Came(number, disk.serial));
        const std::size_t came = expected.size();
        for (const auto& [number, disk] : old)
        {
            const auto now = disks.find(number);
            if (now == disks.end())
                expected.push_back(Came(number, disk.serial));
            else if (status(now->second) == 2 && status(disk) == 0)
                failing.push_back(Failing(number));
        }
        const std::size_t cameOrWent = expected.size();
        expected.insert(expected.end(), failing.begin(), failing.end());

        m_Memory->Set(disks);
        AdvanceClock(Day);
        ASSERT_EQ(Pass(), expected) << "step " << step;

        std::map<unsigned, std::uint64_t> newIds;
        for (const auto& [number, object] : Drives())
        {
            newIds[number] = object.m_ID;
            const auto before = old.find(number);
            if (before == old.end())
            {
                ASSERT_TRUE(used.insert(object.m_ID).second) << "an id came back";
                counts[object.m_ID] = 0;
                continue;
            }
            ASSERT_EQ(object.m_ID, ids[number]);
            const MemoryDisk& a = before->second;
            const MemoryDisk& b = disks[number];
            counts[object.m_ID] += a.serial != b.serial || a.wear != b.wear ||
                                   a.temperature != b.temperature || status(a) != status(b);
            ASSERT_EQ(object.m_ChangeCount, counts[object.m_ID]) << "step " << step;
        }
        ASSERT_EQ(newIds.size(), disks.size());
        for (std::size_t i = 0; i < m_LastEvents.size(); ++i)
        {
            const auto number =
                static_cast<unsigned>(std::stoul(m_LastEvents[i].GetPlaceHolder2()));
            const bool gone = i >= came && i < cameOrWent;
            ASSERT_EQ(m_LastEvents[i].m_ObjectID, gone ? ids[number] : newIds[number]);
        }
        ids = newIds;
    }
}

TEST_F(Watch, ANewIntervalTakesEffectAtOnce)
{
    Start({{0, {"A"}}});
    m_Memory->Set({});
    EXPECT_EQ(SetInterval(100), PI::ERR_SUCCESS);
    EXPECT_TRUE(Rings(60s));
    EXPECT_EQ(Collected(), std::vector<std::string>()) << "a new interval is no pass";
    std::this_thread::sleep_for(50ms); // the worker goes back to its wait
    ZKT::Internals::SkipTime(99s);
    EXPECT_FALSE(Rings(200ms));
    EXPECT_EQ(Pass(2s), std::vector<std::string>{Came(0, "A")});

    // What a host may store beyond the bounds: never a busy loop.
    EXPECT_EQ(SetInterval(0), PI::ERR_SUCCESS);
    EXPECT_TRUE(Rings(60s));
    EXPECT_FALSE(Rings(300ms));
}

TEST_F(Watch, StandingConditionsAtReportTimes)
{
    // Berlin changes its clocks on 2026-03-29 at 01:00 UTC, from 02:00 to 03:00.
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    WriteSettings("CustomOpts.ini", "WearLevelThreshold=97\nReservedCellsThreshold=0\n"
                                    "SnmpTrapReportTime1=11:00\nSnmpTrapReportTime2=2:30\n");
    const std::vector<std::string> report = {Failing(1), Failing(7),
                                             "11090 CRUCIAL CT480MX500SSD1 (7) [7][][] severity 3"};
    const auto at = [](const char* utc)
    {
        tm fields = {};
        strptime(utc, "%Y-%m-%d %H:%M:%S", &fields);
        return static_cast<std::int64_t>(timegm(&fields)) * 1000;
    };
    std::int64_t clock = at("2026-01-15 20:00:00");
    SetClock(static_cast<std::uint64_t>(clock));
    m_First = report; // at any time of day
    Start({{1, {"A", 97}}, {7, {"B", 98, 30, true}}, {8, {"C", 95}}});

    const struct
    {
        const char* utc;
        bool reports;
    } passes[] = {
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
    for (const auto& pass : passes)
    {
        const std::int64_t next = at(pass.utc);
        AdvanceClock(next - clock);
        clock = next;
        EXPECT_EQ(Pass(), pass.reports ? report : std::vector<std::string>()) << pass.utc;
    }
}

TEST_F(Watch, EventsWaitForAHostThatCollectsLate)
{
    Start({});
    m_Plugin->Interface()->m_HostCallback = nullptr;
    m_Memory->Set({{1, {"A"}}});
    // Nobody rings now, so the passes are seen in the topology.
    const auto waitForDrives = [&](std::size_t count)
    {
        for (int tries = 0; m_Plugin->Topology().size() != count + 2 && tries < 30000; ++tries)
        {
            ZKT::Internals::SkipTime(30s);
            std::this_thread::sleep_for(5ms);
        }
    };
    waitForDrives(1);
    m_Memory->Set({});
    waitForDrives(0);
    PI::COperation collect(PI::OP_GET_EVENTS);
    for (const std::size_t expected : {2U, 0U})
    {
        EXPECT_EQ(m_Plugin->Command(PI::COMMAND_EXECUTE_OPERATION, PluginId, &collect),
                  PI::ERR_SUCCESS);
        EXPECT_EQ(collect.m_Events.size(), expected);
    }
}

TEST_F(Watch, ASlowDriveDelaysAndBreaksNothing)
{
    StartWithADelay(700);
    const std::string before = PictureText(m_Plugin->Topology());
    std::thread host([&] { EXPECT_EQ(PictureText(m_Plugin->Topology()), before); });
    EXPECT_EQ(Pass(), std::vector<std::string>());
    host.join();
    EXPECT_EQ(PictureText(m_Plugin->Topology()), before);
}

TEST_F(Watch, ADriveThatHangsIsLeftBehind)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP()
        << "skipped: AddressSanitizer takes the frames that a cancellation unwinds for live ones";
#endif
    Platform::SimulatedMachine& simulated = StartWithADelay(60000);
    const auto asked = [&] { return simulated.JournalCount(1, Platform::DriveCall::Identify); };
    const auto before = asked();
    while (asked() == before)
    {
        ZKT::Internals::SkipTime(30s);
        std::this_thread::sleep_for(10ms);
    }

    // The 25 seconds of patience pass on the test's clock.
    const auto start = std::chrono::steady_clock::now();
    std::atomic<bool> stopped = false;
    std::thread clock(
        [&]
        {
            while (!stopped)
            {
                AdvanceClock(1000);
                std::this_thread::sleep_for(10ms);
            }
        });
    Stop();
    stopped = true;
    clock.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 30s);
}
