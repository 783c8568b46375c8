#include "contracts/zelKit.h"
#include "tests/platform/Support.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <tuple>
#include <vector>

#include <stdlib.h>

// Inside it: outside, Windows has functions of the same names.
namespace Platform
{

TEST(SimulatedMachine, MissingPartsFailTheirCommandAndAreAskedAllTheSame)
{
    const auto machine = MachineOf(
        MachineText("0", R"({"number": 0, "faults": ["smart_version", "smart_version"]})"));
    const auto device = Open(*machine, 0);
    machine->ClearJournal();
    DWORD number = 77;
    Sector page = {};
    std::uint64_t bytes = 0;
    EXPECT_EQ(device->DiskNumber(number), ERROR_SUCCESS);
    for (const DWORD error : {device->SmartVersion(), device->Identify(page),
                              device->SmartData(page), device->Length(bytes)})
        EXPECT_EQ(error, ERROR_IO_DEVICE);
    EXPECT_EQ(machine->JournalEntries().size(), 5u);
    for (std::size_t asks = 0; asks < Journal::EntriesKept; ++asks)
        device->SmartVersion();
    const auto entries = machine->JournalEntries();
    EXPECT_EQ(entries.size(), Journal::EntriesKept) << "and no more";
    EXPECT_EQ(entries.front().call, DriveCall::SmartVersion) << "the last ones";
    EXPECT_EQ(machine->JournalCount(0, DriveCall::SmartVersion), Journal::EntriesKept + 1);
}

TEST(SimulatedMachine, DisksAreFoundByNumberAndByInterface)
{
    const auto machine =
        MachineOf(MachineText("3, 9, 3", R"({"number": 3}, {"number": 4, "faults": ["open"]})"));
    const auto tree = machine->ReadDeviceTree();
    const std::vector<std::string>& paths = tree->back().diskInterfaces;
    ASSERT_EQ(paths.size(), 3u);
    EXPECT_NE(paths[0], paths[2]);
    const std::vector<std::pair<std::string, DWORD>> table = {
        {paths[0], ERROR_SUCCESS},
        {"\\\\?\\SCSI#disk#{53F56307-B6BF-11D0-94F2-00A0C91EFB8B}\\2", ERROR_SUCCESS},
        {paths[1], ERROR_NOT_READY},
        {"\\\\.\\PhysicalDrive3", ERROR_SUCCESS},
        {"\\\\.\\PhysicalDrive9", ERROR_NOT_READY},
        {"\\\\.\\PhysicalDrive4", ERROR_IO_DEVICE},
        {"\\\\.\\PhysicalDrive5", ERROR_FILE_NOT_FOUND},
        {"\\\\.\\PhysicalDrive03", ERROR_FILE_NOT_FOUND},
        {"\\\\.\\PhysicalDrive4294967299", ERROR_FILE_NOT_FOUND},
        {"", ERROR_FILE_NOT_FOUND},
    };
    std::unique_ptr<Device> device;
    for (const auto& [path, error] : table)
        EXPECT_EQ(machine->OpenDevice(path, false, device), error) << path;

    std::string version;
    EXPECT_TRUE(machine->ModuleVersion("STORahci", version));
    EXPECT_EQ(version, "10.0");
    EXPECT_FALSE(machine->ModuleVersion("storahc", version));
    EXPECT_FALSE(machine->ModuleVersion("_a", version)) << "a remark";
}

TEST(SimulatedMachine, PartitionsAreAppendedWithEveryField)
{
    const auto machine = MachineOf(MachineText("0", R"({"number": 0, "partitions": [
        {"name": "P", "start": 1, "bytes": 2, "index": 3, "mount": "/m", "filesystem": "ext4",
         "label": "L", "type": "T", "uuid": "U", "state": "S"}]})"));
    std::vector<ZKTX::CSystemPartition> partitions(1);
    EXPECT_TRUE(machine->Partitions(0, partitions));
    EXPECT_FALSE(machine->Partitions(1, partitions));
    ASSERT_EQ(partitions.size(), 2u);
    const ZKTX::CSystemPartition& read = partitions[1];
    EXPECT_EQ(read.m_PartitionName + read.m_Text1 + read.m_Text2 + read.m_Text3 + read.m_Text4 +
                  read.m_Text5 + read.m_Text6,
              "P/mext4LTUS");
    EXPECT_EQ(std::tuple(read.m_Number1, read.m_Number2, read.m_Index), std::tuple(1u, 2u, 3));
}

TEST(SimulatedMachine, ADelayedCallHoldsNobodyElseAndItsThreadCanBeStopped)
{
    SetCurrentMachine(MachineOf(MachineText("0", R"({"number": 0,
        "delay_ms": {"device_number": 600000}}, {"number": 1})")));
    const std::size_t openBefore = OpenHandleCount();
    const HANDLE device = OpenDisk(GENERIC_READ | GENERIC_WRITE);
    ASSERT_NE(device, INVALID_HANDLE_VALUE);
    struct Call
    {
        void Run()
        {
            STORAGE_DEVICE_NUMBER number = {};
            first = NumberError(device, number);
            second = NumberError(device, number);
        }
        HANDLE device;
        DWORD first = 0, second = 0;
    } call{device};
    ZKT::Threading::CThread thread;
    ASSERT_EQ(thread.Create({&call, &Call::Run}, false), ZKT::RESULT_SUCCESS);
    auto& machine = dynamic_cast<SimulatedMachine&>(CurrentMachine());
    while (machine.JournalCount(0, DriveCall::DeviceNumber) == 0)
        std::this_thread::yield();
    EXPECT_TRUE(CloseHandle(device)) << "closed while in use";
    EXPECT_EQ(Open(machine, 1)->SmartVersion(), ERROR_SUCCESS);

    thread.GetControlBlock()->Cancel();
    ASSERT_EQ(thread.Wait(ZKT::Infinite), ZKT::RESULT_SUCCESS);
    EXPECT_EQ(call.first, ERROR_OPERATION_ABORTED);
    EXPECT_EQ(call.second, ERROR_OPERATION_ABORTED);
    EXPECT_EQ(OpenHandleCount(), openBefore);
    SetCurrentMachine(nullptr);
}

TEST(SimulatedMachine, ADiskThatGoesWhileItIsAskedIsGone)
{
    using Clock = std::chrono::steady_clock;
    const auto machine = MachineOf(MachineText("0", R"({"number": 0, "partitions": [],
        "delay_ms": {"identify": 300, "partitions": 300}})"));
    const auto device = Open(*machine, 0);
    std::vector<ZKTX::CSystemPartition> partitions;
    const auto before = Clock::now();
    EXPECT_TRUE(machine->Partitions(0, partitions));
    EXPECT_GE(Clock::now() - before, std::chrono::milliseconds(300));

    Sector page = {};
    DWORD error = ERROR_SUCCESS;
    std::jthread asking([&] { error = device->Identify(page); });
    while (machine->JournalCount(0, DriveCall::Identify) == 0)
        std::this_thread::yield();
    std::string message;
    EXPECT_TRUE(machine->Replace(MachineText("", ""), message)) << message;
    asking.join();
    EXPECT_EQ(error, ERROR_NOT_READY);
}

TEST(CurrentMachine, ComesFromTheEnvironmentAndComplainsOnce)
{
    const TestFolder folder;
    const std::string good = folder.Write("good.json", MachineText("0", R"({"number": 0})"));
    // Without a file it is this computer, which has devices of its own.
    const auto count = [](Machine& machine)
    {
        const auto tree = machine.ReadDeviceTree();
        return tree ? tree->size() : 0;
    };
    const std::size_t own = count(*ThisComputer());
    const std::tuple<std::string, bool, std::size_t> cases[] = {
        {good, true, 3}, {folder.Write("wrong.json", "{"), false, 1}, {"", true, own}};
    for (const auto& [file, opens, nodes] : cases)
    {
        setenv("TARNIS_MACHINE", file.c_str(), 1);
        for (const bool asksFirst : {true, false})
        {
            SetCurrentMachine(nullptr);
            testing::internal::CaptureStderr();
            std::string message;
            EXPECT_TRUE(!asksFirst || OpenCurrentMachine(message) == opens) << message;
            EXPECT_EQ(count(CurrentMachine()), nodes);
            EXPECT_EQ(OpenCurrentMachine(message), opens);
            EXPECT_EQ(message.empty(), opens);
            const std::string told = testing::internal::GetCapturedStderr();
            EXPECT_EQ(told.empty(), opens || asksFirst) << told;
        }
    }
    unsetenv("TARNIS_MACHINE");
    SetCurrentMachine(nullptr);
}

} // namespace Platform
