// Many passes of two instances in one process over drives that change, with a clock that jumps and
// a second process on the database.
#include "tests/soak/NeighbourProcess.h"
#include "tests/support/DriveModel.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/ShownRows.h"
#include "tests/support/SteppedPlugin.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <sqlite3.h>
#include <thread>
#include <unistd.h>

using namespace Support;
using namespace std::chrono_literals;

namespace
{

unsigned passes = 300 / Slowness;
unsigned seed = 0;

constexpr std::uint64_t Hour = 3600000;                // ms
constexpr std::uint64_t Age = 15ULL * 365 * 24 * Hour; // between two times of the clock
constexpr std::array<std::uint64_t, 2> ReportHours = {11, 23};
constexpr unsigned WarmUp = 20000; ///< passes
constexpr unsigned Looks = 10;     ///< at what the process holds, and at all rows

/// An instance, and what it must show.
struct Instance
{
    SteppedPlugin stepped;
    ExpectedInstance expected;
    std::uint64_t hour = 24; ///< of the last pass; 24: there was none
};

/// What the process holds.
struct Holdings
{
    std::size_t heap = 0;     ///< bytes that are in use, without SQLite's
    std::size_t sqlite = 0;   ///< bytes that SQLite uses: as many statements as are kept prepared
    std::size_t resident = 0; ///< bytes that belong to no file
    std::ptrdiff_t files = 0;
    std::ptrdiff_t threads = 0;
};

std::ptrdiff_t EntriesIn(const char* folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

std::size_t ResidentBytes()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    std::size_t kilobytes = 0;
    while (status >> word && word != "RssAnon:")
        continue;
    status >> kilobytes;
    return kilobytes << 10;
}

Holdings HoldingsNow()
{
    malloc_trim(0);
    const struct mallinfo2 info = mallinfo2();
    const auto sqlite = static_cast<std::size_t>(sqlite3_memory_used());
    return {info.uordblks + info.hblkhd - sqlite, sqlite, ResidentBytes(),
            EntriesIn("/proc/self/fd"), EntriesIn("/proc/self/task")};
}

void ExpectNoGrowth(const Holdings& first, const Holdings& now)
{
    EXPECT_EQ(now.files, first.files);
    EXPECT_EQ(now.threads, first.threads);
    // In a short run statements are still being prepared that none had asked for before.
    const bool isWarm = passes / 2 >= WarmUp;
    // Holes in the heap come and go.
    EXPECT_LE(now.resident, first.resident + first.resident / (isWarm ? 10 : 2));
    EXPECT_LE(now.heap, first.heap + first.heap / (isWarm ? 100 : 33));
    EXPECT_LE(now.sqlite, isWarm ? first.sqlite + first.sqlite / 10 : 2 * first.sqlite);
}

} // namespace

class Soak : public SteppedTest
{
  protected:
    Soak() : m_Machine(seed)
    {
        UseMachine(MachineHolding(m_Machine.drives));
        SetHour();
        for (Instance& instance : m_Instances)
            EXPECT_TRUE(instance.stepped.Start());
    }

    void SetHour() const { SetClock(Age * (1 + m_Age) + m_Hour * Hour); }
    std::uint64_t HourOfDay() const { return (Age / Hour * (1 + m_Age) + m_Hour) % 24; }

    /// Another time that never was, by hours or by years from the last one, at which SMART pages
    /// are read anew.
    void MoveClock()
    {
        ++m_Hour;
        if (m_Machine.Pick(10) == 0)
            m_Age = m_Machine.Pick(4);
        SetHour();
    }

    void Change()
    {
        m_Machine.Change();
        UseMachine(MachineHolding(m_Machine.drives)).ClearJournal();
        MoveClock();
    }

    void Expect(Instance& instance)
    {
        const std::uint64_t hour = HourOfDay();
        const bool isReport = instance.hour == 24 ||
                              (hour != instance.hour && std::ranges::count(ReportHours, hour) != 0);
        instance.hour = hour;
        instance.expected.Pass(m_Machine.drives, isReport);
    }

    /// A pass of one instance, or of both at once, while the host asks.
    void Pass(unsigned which)
    {
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < m_Instances.size(); ++i)
        {
            if ((which & 1U << i) == 0)
                continue;
            ++m_Passes;
            const std::size_t before = m_Instances[i].expected.DriveCount();
            Expect(m_Instances[i]);
            threads.emplace_back([this, i] { EXPECT_TRUE(m_Instances[i].stepped.Pass()); });
            const std::size_t shown = m_Instances[i].stepped.plugin.Topology().size() - 2;
            EXPECT_TRUE(shown == before || shown == m_Instances[i].expected.DriveCount());
        }
        for (std::thread& thread : threads)
            thread.join();
        for (Instance& instance : m_Instances)
            ASSERT_EQ(ExpectedInstance::TextOf(instance.stepped.plugin.Topology()),
                      instance.expected.Text());
    }

    void Collect(Instance& instance)
    {
        PI::COperation collect(PI::OP_GET_EVENTS);
        ASSERT_EQ(
            instance.stepped.plugin.Command(PI::COMMAND_EXECUTE_OPERATION, PluginId, &collect),
            PI::ERR_SUCCESS);
        ASSERT_EQ(ExpectedInstance::Texts(collect.m_Events), instance.expected.TakeEvents());
    }

    /// Changes, then passes; not always both, and events are collected late at times.
    void Step()
    {
        if (m_Machine.Pick(8) != 0)
            Change();
        Pass(1 + m_Machine.Pick(3));
        for (Instance& instance : m_Instances)
            if (m_Machine.Pick(2) == 0)
                Collect(instance);
    }

    /// The rows are those of the instance that wrote last, when nobody else wrote meanwhile.
    void CompareRows(NeighbourProcess& neighbour)
    {
        ASSERT_TRUE(neighbour.Pause());
        for (const unsigned which : {3, 1, 2, 1})
            Pass(which);
        const auto topology = m_Instances[0].stepped.plugin.Topology();
        EXPECT_EQ(ShownRows(m_Folder.File("rows.db")), ExpectedRows(topology, m_Machine.drives));
        neighbour.GoOn();
    }

    /// With 64 drives that are all well, so that two measurements tell something.
    Holdings Measure()
    {
        const Drives drives = std::exchange(m_Machine.drives, {});
        for (unsigned number = 0; number < 64; ++number)
            m_Machine.drives[number] = {"MEASURED" + std::to_string(number), 0, 30, true};
        for (int pass = 0; pass < 2; ++pass)
        {
            UseMachine(MachineHolding(m_Machine.drives)).ClearJournal();
            MoveClock();
            Pass(3);
            for (Instance& instance : m_Instances)
                Collect(instance);
        }
        std::this_thread::sleep_for(20ms); // the kernel strikes an ended thread off its list
        const Holdings holdings = HoldingsNow();
        m_Machine.drives = drives;
        Change();
        Pass(3);
        return holdings;
    }

    const std::string m_Settings =
        m_Folder.Write("CustomOpts.ini", "WearLevelThreshold=97\nReservedCellsThreshold=0\n");
    RandomDrives m_Machine;
    std::uint64_t m_Age = 1;
    std::uint64_t m_Hour = 0;
    std::array<Instance, 2> m_Instances;
    unsigned m_Passes = 0;
};

TEST_F(Soak, NothingIsLostAndNothingGrows)
{
    std::printf("seed %u\n", seed);
    Pass(3); // makes the rows
    NeighbourProcess neighbour(m_Folder.File("rows.db"));
    Holdings first;
    for (unsigned look = 1; look <= Looks; ++look)
    {
        while (m_Passes < passes / Looks * look)
        {
            Step();
            ASSERT_FALSE(HasFailure()) << "seed " << seed << ", pass " << m_Passes;
        }
        CompareRows(neighbour);
        const Holdings now = Measure();
        std::printf(
            "%8u passes: %zu bytes of heap, %zu of SQLite, %zu resident, %td files, %td threads\n",
            m_Passes, now.heap, now.sqlite, now.resident, now.files, now.threads);
        if (first.heap == 0 && m_Passes >= std::min(passes / 2, WarmUp))
            first = now;
        if (first.heap != 0 && Slowness == 1) // a sanitizer keeps what is freed
            ExpectNoGrowth(first, now);
        ASSERT_FALSE(HasFailure()) << "seed " << seed << ", pass " << m_Passes;
    }
}

/// Blocks that threads keep for later count as used: without them memory can be compared.
void ForgoCaches(char** arguments)
{
    if (std::getenv("GLIBC_TUNABLES") != nullptr)
        return;
    setenv("GLIBC_TUNABLES", "glibc.malloc.tcache_count=0", 1);
    execv("/proc/self/exe", arguments);
}

int main(int count, char** arguments)
{
    ForgoCaches(arguments);
    if (const char* database = std::getenv(NeighbourProcess::Task))
        return NeighbourProcess::Run(database);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    testing::InitGoogleTest(&count, arguments);
    seed = std::random_device{}();
    for (const char* argument : std::vector<const char*>(arguments + 1, arguments + count))
        if (std::sscanf(argument, "--passes=%u", &passes) +
                std::sscanf(argument, "--seed=%u", &seed) <
            1)
            return std::fprintf(stderr, "soak_tests: %s? --passes=N, --seed=N\n", argument), 1;
    return RUN_ALL_TESTS();
}
