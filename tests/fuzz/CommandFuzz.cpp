// Any sequence of commands while drives come, go and change: each picture, event, answer and row is
// the one that follows from the drives that answered at the last pass.
#include "tests/support/DriveModel.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/ShownRows.h"
#include "tests/support/SteppedPlugin.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <atomic>
#include <memory>
#include <thread>

#include <dlfcn.h>

using namespace Support;
using namespace std::chrono_literals;
using Input = FuzzedDataProvider;

namespace
{

constexpr std::uint64_t Hour = 3600000; // ms
constexpr std::uint64_t HoursADay = 24; // hours
constexpr int MostDays = 10;            ///< of a sequence
constexpr unsigned Kinds = 8; ///< of change; the last kind of all, a delay, would be waited for
constexpr int MostSteps = 60;

/// Lets time fly while a command sleeps.
class FlyingTime
{
  public:
    FlyingTime()
        : m_Thread(
              [this]
              {
                  for (; !m_Ends; std::this_thread::sleep_for(1ms))
                      ZKT::Internals::SkipTime(100ms);
              })
    {
    }
    ~FlyingTime()
    {
        m_Ends = true;
        m_Thread.join();
    }
    FlyingTime(const FlyingTime&) = delete;
    FlyingTime& operator=(const FlyingTime&) = delete;

  private:
    std::atomic<bool> m_Ends = false;
    std::thread m_Thread;
};

/// A check that fails throws, which ends the process.
class Sequence : public SteppedTest
{
  public:
    explicit Sequence(Input& input) : m_Input(input), m_Machine(input.ConsumeIntegral<unsigned>())
    {
        m_Folder.Write("CustomOpts.ini", "WearLevelThreshold=97\nReservedCellsThreshold=0\n");
        for (auto changes = Byte() % 40; changes > 0; --changes)
            ChangeOne();
        Use();
        Begin();
    }
    ~Sequence() override { End(); }

    void Run()
    {
        for (int step = 0; step < MostSteps && m_Input.remaining_bytes() > 0; ++step)
            Step();
        CompareRows();
    }

  private:
    void TestBody() override {}
    /// Hours that no sequence has had before: the plug-in keeps pages for its process.
    static std::uint64_t NextStart()
    {
        static std::uint64_t next = 15 * 365 * HoursADay;
        return std::exchange(next, next + MostDays * HoursADay);
    }
    unsigned Byte() { return m_Input.ConsumeIntegral<std::uint8_t>(); }

    void Begin()
    {
        StartPlugin();
        m_Expected = ExpectedInstance();
        m_Expected.Start(m_Shown);
        m_LastHour = 24;
        m_Interval = std::clamp(m_Interval, 2, 255); // as it is read again
        Pass();                                      // the first comes by itself
    }

    void End()
    {
        const FlyingTime time;
        m_Plugin.reset();
    }

    void Step()
    {
        switch (Byte() % 8)
        {
        case 0:
        case 1:
            for (auto changes = 1 + Byte() % 4; changes > 0; --changes)
                ChangeOne();
            Use();
            break;
        case 2:
            Use();
            Pass();
            break;
        case 3:
            Collect();
            break;
        case 4:
        case 5:
            Ask();
            break;
        case 6:
            Set();
            break;
        default:
            if (Byte() % 4 == 0)
            {
                End();
                Begin();
                m_IsSecond = true;
            }
            else
                CompareRows();
        }
    }

    void ChangeOne()
    {
        const unsigned number = Byte() % 64;
        m_Machine.ChangeOne(number, Byte() % Kinds);
    }

    /// The machine as it is now, an hour later: pages are read anew then.
    void Use()
    {
        UseMachine(MachineHolding(m_Machine.drives)).ClearJournal();
        m_Shown = m_Machine.drives;
        SetClock(++m_Hour * Hour);
    }

    void Pass()
    {
        const std::uint64_t hour = m_Hour % HoursADay;
        const bool isReport =
            m_LastHour == 24 || (hour != m_LastHour && (hour == 11 || hour == 23));
        m_LastHour = hour;
        m_Expected.Pass(m_Shown, isReport);
        ASSERT_TRUE(m_Plugin->Pass());
        ASSERT_EQ(ExpectedInstance::TextOf(m_Plugin->plugin.Topology()), m_Expected.Text());
    }

    void Collect()
    {
        std::vector<PI::CEvent> events;
        ASSERT_EQ(Execute(PI::OP_GET_EVENTS, events), PI::ERR_SUCCESS);
        ASSERT_EQ(ExpectedInstance::Texts(events), m_Expected.TakeEvents());
    }

    void Set()
    {
        const int value = m_Input.ConsumeIntegral<std::int16_t>();
        const int minimum = m_Input.ConsumeIntegralInRange(0, 2000);
        const int maximum = m_Input.ConsumeIntegralInRange(0, 1000);
        PI::CProperty interval(PI::PROP_POLL_INTERVAL, true);
        interval.SetValue(value, minimum, maximum, 1U);
        ASSERT_EQ(m_Plugin->plugin.Command(PI::COMMAND_SET_PROPERTY, PluginId, &interval),
                  PI::ERR_SUCCESS);
        ASSERT_TRUE(m_Plugin->Rings(60s)); // without a pass
        m_Interval = std::min(std::max(value, minimum), maximum);
        ASSERT_EQ(m_Folder.Read("tarnis.ini"), "PollInterval=" + std::to_string(m_Interval) + "\n");
    }

    /// Commands 5, 6 and 8 to 10, about any object, against the topology.
    void Ask()
    {
        const std::uint64_t id =
            Byte() % 8 == 0 ? m_Input.ConsumeIntegral<std::uint64_t>() : PluginId + Byte() % 80;
        const auto topology = m_Plugin->plugin.Topology();
        const auto object = std::ranges::find(topology, id, &PI::CObject::m_ID);
        const bool isThere = object != topology.end();
        const std::int32_t right = isThere ? PI::ERR_SUCCESS : PI::ERR_INVALID_OBJECT_ID;
        LoadedPlugin& plugin = m_Plugin->plugin;
        const auto command = m_Input.ConsumeIntegralInRange<std::int32_t>(4, 12);
        if (command > PI::COMMAND_EXECUTE_OPERATION)
            ASSERT_EQ(plugin.Command(command, id), PI::ERR_INVALID_COMMAND);
        else
            ASSERT_EQ(plugin.Command(command, id), PI::ERR_INVALID_PARAMETER);

        std::vector<PI::CProperty> properties(1);
        ASSERT_EQ(plugin.Command(PI::COMMAND_GET_PROPERTIES, id, &properties), right);
        std::vector<PI::COperation> operations(1);
        ASSERT_EQ(plugin.Command(PI::COMMAND_GET_OPERATIONS, id, &operations), right);
        ASSERT_EQ(operations.size(), id == PluginId ? 1U : 0U);
        ASSERT_EQ(properties.size(), isThere ? object->m_Properties.size() : 0U);
        for (std::size_t i = 0; i < properties.size(); ++i)
            ASSERT_EQ(ValueText(properties[i]), ValueText(object->m_Properties[i]));
        if (id == PluginId)
        {
            ASSERT_EQ(ValueText(*object, PI::PROP_POLL_INTERVAL),
                      "range:" + std::to_string(m_Interval) + " in 2..255 by 1");
        }

        PI::CProperty property(
            isThere && Byte() % 4 != 0
                ? object->m_Properties[Byte() % object->m_Properties.size()].m_ID
                : static_cast<PI::_PROPERTY_ID>(1 + m_Input.ConsumeIntegral<std::uint16_t>()),
            false);
        const PI::CProperty* const shown = isThere ? Find(*object, property.m_ID) : nullptr;
        ASSERT_EQ(plugin.Command(PI::COMMAND_GET_PROPERTY, id, &property),
                  isThere && shown == nullptr ? PI::ERR_GENERAL : right);
        ASSERT_EQ(ValueText(property), shown != nullptr ? ValueText(*shown) : "none");
    }

    /// Whether a row may belong to a drive that is there and does not answer.
    bool IsSilent(const std::string& row) const
    {
        unsigned number = 0;
        if (std::sscanf(row.c_str(), row[0] == 'D' ? "Disk %u|" : "%u|", &number) != 1)
            return false;
        if (const auto drive = m_Shown.find(number); drive != m_Shown.end())
            return !drive->second.fails.empty();
        // One that cannot be opened does not tell its number either.
        return std::ranges::any_of(
            m_Shown, [](const auto& entry)
            { return entry.second.fails == "device_number" || entry.second.fails == "open"; });
    }

    /// Rows that another instance left are in step with the second pass. Those of drives that never
    /// answered this one stay.
    void CompareRows()
    {
        for (int pass = 0; pass < 2; ++pass)
        {
            Use();
            Pass();
        }
        Texts rows = ShownRows(m_Folder.File("rows.db"));
        if (m_IsSecond)
            std::erase_if(rows, [this](const std::string& row) { return IsSilent(row); });
        ASSERT_EQ(rows, ExpectedRows(m_Plugin->plugin.Topology(), m_Shown));
    }

    Input& m_Input;
    RandomDrives m_Machine;
    Drives m_Shown; ///< by the machine
    ExpectedInstance m_Expected;
    std::uint64_t m_Hour = NextStart();
    std::uint64_t m_LastHour = 24; ///< of a pass; 24: there was none
    int m_Interval = 30;
    bool m_IsSecond = false; ///< another instance ran before
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments)
{
    int one = 1; // the others are not for GoogleTest
    testing::InitGoogleTest(&one, *arguments);
    testing::FLAGS_gtest_throw_on_failure = true;
    setenv("TMPDIR", "/dev/shm", 0);
    // The plug-in tells how many adapters it has found, at every start.
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        std::abort();
    // The fuzzer follows the plug-in's code for good: the library stays loaded.
    dlopen((TARNIS_BIN_DIR + std::string("/tarnis.so")).c_str(), RTLD_NOW);
    return *count < 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    Sequence(input).Run();
    return 0;
}
