// Memory or descriptors run out: what the plug-in shows, its events and its rows stay as they were,
// and the next pass is an ordinary one.
#include "platform/Shortage.h"
#include "platform/CallGate.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/RecordingDatabase.h"
#include "tests/support/SteppedPlugin.h"

#include <new>
#include <set>

using namespace Support;

namespace
{

/// A machine of which one call ends with an error, or with nothing to say so.
class ShortMachine : public Platform::Machine
{
  public:
    explicit ShortMachine(Platform::Machine& machine) : m_Machine(machine) {}

    /// Lets the call at a position fail, from 1 on. @param error  0: it throws
    void Fail(const std::string& call, int position, DWORD error)
    {
        m_Call = call, m_Left = position, m_Error = error;
    }
    bool HasFailed() const { return m_Left <= 0; }

    std::shared_ptr<const Platform::DeviceTree> ReadDeviceTree() override
    {
        ErrorOf("tree");
        return m_Machine.ReadDeviceTree();
    }
    DWORD OpenDevice(const std::string& path, bool writable,
                     std::unique_ptr<Platform::Device>& device) override
    {
        if (const DWORD error = ErrorOf("open"))
            return error;
        std::unique_ptr<Platform::Device> opened;
        const DWORD error = m_Machine.OpenDevice(path, writable, opened);
        if (error == 0)
            device = std::make_unique<ShortDevice>(*this, std::move(opened));
        return error;
    }
    bool ModuleVersion(const std::string& service, std::string& version) override
    {
        ErrorOf("version");
        return m_Machine.ModuleVersion(service, version);
    }
    bool Partitions(DWORD disk, std::vector<ZKTX::CSystemPartition>& partitions) override
    {
        ErrorOf("partitions");
        return m_Machine.Partitions(disk, partitions);
    }

  private:
    struct ShortDevice : Platform::Device
    {
        ShortDevice(ShortMachine& of, std::unique_ptr<Platform::Device> opened)
            : machine(of), device(std::move(opened))
        {
        }
        template <class Ask> DWORD Answer(const char* call, Ask ask)
        {
            const DWORD error = machine.ErrorOf(call);
            return error != 0 ? error : ask();
        }
        DWORD DiskNumber(DWORD& number) override
        {
            return Answer("number", [&] { return device->DiskNumber(number); });
        }
        DWORD SmartVersion() override
        {
            return Answer("smart", [&] { return device->SmartVersion(); });
        }
        DWORD Identify(Platform::Sector& page) override
        {
            return Answer("identify", [&] { return device->Identify(page); });
        }
        DWORD SmartData(Platform::Sector& page) override
        {
            return Answer("data", [&] { return device->SmartData(page); });
        }
        DWORD Length(std::uint64_t& bytes) override
        {
            return Answer("length", [&] { return device->Length(bytes); });
        }
        ShortMachine& machine;
        const std::unique_ptr<Platform::Device> device;
    };

    DWORD ErrorOf(const std::string& call)
    {
        if (call != m_Call || --m_Left != 0)
            return 0;
        if (m_Error == 0)
            throw Platform::Shortage();
        return m_Error;
    }

    Platform::Machine& m_Machine;
    std::string m_Call;
    int m_Left = 0;
    DWORD m_Error = 0;
};

constexpr DWORD Shortages[] = {4, 8, 14, 1450, 1451, 1452, 1453, 1454, 1455, 1816};

/// Lets the gate's call at a position find no memory.
std::string g_short; // the name of the call that did
int FailCall(int position)
{
    static int calls;
    const int before = std::exchange(calls, 0);
    g_short.clear();
    Platform::SetCallGate(
        [position](const char* name)
        {
            if (++calls != position)
                return true;
            g_short = name;
            throw std::bad_alloc();
        });
    return before;
}

} // namespace

class ShortageTest : public SteppedTest
{
  protected:
    ~ShortageTest() override
    {
        Platform::SetCallGate({});
        m_Plugin.reset();
    }

    /// Three drives with partitions, and whatever else there is.
    std::shared_ptr<ShortMachine> Use(std::uint32_t disks = 3)
    {
        auto machine = std::make_shared<ShortMachine>(UseMachine(Support::MachineOf(disks)));
        Platform::SetCurrentMachine(machine);
        return machine;
    }

    /// What a pass changed, the clean one behind a failed one included: events, and rows that came
    /// or went; the first of its readings that is not as before.
    std::string Pass()
    {
        const std::string before = Picture();
        RecordingDatabase::Get().sent.clear();
        AdvanceClock(300001); // SMART pages are read anew
        EXPECT_TRUE(m_Plugin->Pass());
        std::vector<PI::CEvent> events;
        EXPECT_EQ(Execute(PI::OP_GET_EVENTS, events), PI::ERR_SUCCESS);
        std::string changes;
        for (const PI::CEvent& event : events)
            changes += "event " + std::to_string(event.m_EventID) + ";";
        for (const std::string& statement : RecordingDatabase::Get().sent)
            for (const char* const verb : {"INSERT", "DELETE"})
                if (statement.find(verb) != std::string::npos)
                    changes += statement.substr(statement.find(verb), 30) + ";";
        return Picture() == before ? changes : changes + "picture";
    }
};

TEST_F(ShortageTest, APassThatRunsShortChangesNothing)
{
    Use();
    StartPlugin();
    EXPECT_EQ(Pass(), "");
    FailCall(0);
    EXPECT_EQ(Pass(), "");
    const int calls = FailCall(0);
    ASSERT_GT(calls, 60);
    std::set<std::string> met;
    for (int failing = 1; failing <= calls; ++failing)
    {
        FailCall(failing);
        EXPECT_EQ(Pass(), "") << g_short << " as call " << failing;
        met.insert(g_short);
    }
    EXPECT_EQ(met.size(), 13U) << "all kinds of calls";
    Platform::SetCallGate({});

    const auto machine = Use();
    const auto ends = [&](const char* call, int position, DWORD error)
    {
        machine->Fail(call, position, error);
        EXPECT_EQ(Pass(), "") << call << ' ' << position << ' ' << error;
        EXPECT_TRUE(machine->HasFailed()) << call << ' ' << position;
    };
    for (const DWORD error : Shortages)
        for (const char* const call : {"open", "number", "smart", "identify", "data", "length"})
            ends(call, 2, error);
    ends("open", 5, 4); // a drive, not its number
    ends("tree", 1, 0);
    for (int position = 1; position <= 6; ++position) // the drives, and their rows
        ends("partitions", position, 0);
    // The test sees a drive that goes.
    machine->Fail("open", 5, ERROR_IO_DEVICE);
    EXPECT_NE(Pass().find("event 10920"), std::string::npos);

    // The host is called for events that wait, even by a pass that changes nothing.
    EXPECT_NE(Pass(), "") << "it is back";
    machine->Fail("open", 5, ERROR_IO_DEVICE);
    EXPECT_TRUE(m_Plugin->Pass());
    const std::string without = Picture();
    FailCall(1);
    EXPECT_TRUE(m_Plugin->Pass());
    EXPECT_EQ(Picture(), without) << "the drive is back with the next pass";
    m_Plugin->Stop();
}

TEST_F(ShortageTest, AStartThatRunsShortLeavesNothing)
{
    const auto machine = Use();
    LoadedPlugin plugin;
    const auto expect = [&](std::int32_t expected, const std::string& where)
    {
        RecordingDatabase::Get().sent.clear();
        plugin.adapterIDs.clear();
        plugin.Renew();
        EXPECT_EQ(plugin.Initialize(), expected) << where;
        const bool isThere = expected == PI::ERR_SUCCESS;
        EXPECT_EQ(plugin.adapterIDs.size(), isThere ? 1U : 0U) << where;
        EXPECT_EQ(plugin.Topology().size(), isThere ? 5U : 1U) << where;
        EXPECT_EQ(RecordingDatabase::Get().sent.empty(), !isThere) << where;
        EXPECT_EQ(Platform::OpenHandleCount(), 0U) << where;
        AdvanceClock(300001);
    };
    FailCall(0);
    expect(PI::ERR_SUCCESS, "whole");
    const int calls = FailCall(0);
    for (int failing = 1; failing <= calls; ++failing)
    {
        RecordingDatabase::Get().sent.clear();
        FailCall(failing);
        plugin.Renew();
        const std::int32_t result = plugin.Initialize();
        // What releases has released, whatever it gives.
        const bool releases = g_short == "CloseHandle" || g_short == "SetupDiDestroyDeviceInfoList";
        EXPECT_EQ(result, releases ? PI::ERR_SUCCESS : PI::ERR_MEMORY_ERROR) << g_short << failing;
        EXPECT_EQ(plugin.Topology().size(), releases ? 5U : 1U);
        EXPECT_EQ(RecordingDatabase::Get().sent.empty(), !releases) << g_short << failing;
        AdvanceClock(300001);
    }
    Platform::SetCallGate({});
    for (const char* const call : {"tree", "version", "partitions"})
    {
        machine->Fail(call, 1, 0);
        expect(PI::ERR_MEMORY_ERROR, call);
    }
    for (const char* const call : {"open", "number", "smart", "identify", "data", "length"})
    {
        machine->Fail(call, 2, ERROR_TOO_MANY_OPEN_FILES);
        expect(PI::ERR_MEMORY_ERROR, call);
        expect(PI::ERR_SUCCESS, call);
    }
}
