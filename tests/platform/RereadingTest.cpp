#include "tests/platform/Support.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

namespace
{

std::string OneDisk(const std::string& model)
{
    return MachineText("0", "{\"number\": 0, \"identify\": {\"model\": \"" + model + "\"}}");
}

char FirstLetter(Platform::Machine& machine)
{
    Platform::Sector page = {};
    const auto device = Open(machine, 0);
    return device && device->Identify(page) == ERROR_SUCCESS ? static_cast<char>(page[55]) : '?';
}

/// Fails unless this many lines go to standard error meanwhile. @return them
std::string ExpectWarnings(std::ptrdiff_t count, const std::function<void()>& run)
{
    testing::internal::CaptureStderr();
    run();
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), count) << text;
    return text;
}

} // namespace

TEST(Rereading, ChangesAreTakenUpAtAWalk)
{
    const TestFolder folder;
    const std::string file = folder.Write("m.json", OneDisk("A"));
    const auto machine = MachineOfFile(file);
    const auto device = Open(*machine, 0);
    const auto tree = machine->ReadDeviceTree();

    // Same size, perhaps within one step of the file system's clock, in place.
    for (const char* model : {"B", "C", "D"})
    {
        folder.Write("m.json", OneDisk(model));
        EXPECT_EQ(machine->ReadDeviceTree(), tree) << "an equal tree is the same tree";
        EXPECT_EQ(FirstLetter(*machine), model[0]);
    }
    // By rename, with another tree.
    std::filesystem::rename(folder.Write("new", MachineText("5, 6", "{\"number\": 5}")), file);
    Platform::Sector page = {};
    EXPECT_EQ(device->Identify(page), ERROR_SUCCESS) << "no walk yet";
    EXPECT_NE(machine->ReadDeviceTree(), tree);
    EXPECT_EQ(device->Identify(page), ERROR_NOT_READY) << "the disk is gone";
    EXPECT_TRUE(Open(*machine, 5));
}

TEST(Rereading, AWrongVersionLeavesTheLastGoodOneWithOneWarning)
{
    const TestFolder folder;
    const std::string good = OneDisk("A");
    const std::string file = folder.Write("m.json", good);
    const auto machine = MachineOfFile(file);
    const auto walk = [&]
    {
        for (int walks = 0; walks < 3; ++walks)
        {
            machine->ReadDeviceTree();
            EXPECT_EQ(FirstLetter(*machine), 'A');
        }
        // Beyond the time in which a file counts as freshly changed.
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        machine->ReadDeviceTree();
        machine->ReadDeviceTree();
    };
    folder.Write("m.json", good.substr(0, good.size() / 2));
    EXPECT_TRUE(ExpectWarnings(1, walk).starts_with(file + ": line "));
    std::filesystem::remove(file);
    ExpectWarnings(1, walk);
    folder.Write("m.json", good);
    ExpectWarnings(0, walk);
    folder.Write("m.json", OneDisk("Z"));
    machine->ReadDeviceTree();
    EXPECT_EQ(FirstLetter(*machine), 'Z');
}

TEST(Rereading, PageFilesAreWatched)
{
    const TestFolder folder;
    folder.Write("page", std::string(512, 'a'));
    const auto machine = MachineOfFile(
        folder.Write("m.json", MachineText("0", R"({"number": 0, "identify": "page"})")));
    folder.Write("page", std::string(512, 'b'));
    machine->ReadDeviceTree();
    EXPECT_EQ(FirstLetter(*machine), 'b');

    std::filesystem::remove(folder.File("page"));
    ExpectWarnings(1, [&] { machine->ReadDeviceTree(); });
    EXPECT_EQ(FirstLetter(*machine), 'b');
    std::string message;
    EXPECT_FALSE(machine->Replace("{", message));
    EXPECT_EQ(FirstLetter(*machine), 'b');
}

TEST(Rereading, ReadersMayWorkWhileTheFileChanges)
{
    const TestFolder folder;
    const std::string first = OneDisk("A");
    const std::string second =
        MachineText("0, 1", R"({"number": 1}, {"number": 0, "identify": {"model": "B"}})");
    const std::string file = folder.Write("m.json", first);
    const auto machine = MachineOfFile(file);
    Platform::SetCurrentMachine(machine);

    std::atomic<bool> stop = false;
    std::atomic<int> strange = 0;
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 3; ++reader)
        readers.emplace_back(
            [&]
            {
                while (!stop)
                {
                    DEVINST node = 0;
                    DEVINST child = 0;
                    Platform::CM_Locate_DevNodeA(&node, nullptr, 0);
                    // Another walker's new picture may have made the node an old one.
                    const CONFIGRET result = Platform::CM_Get_Child(&child, node, 0);
                    strange += result != CR_SUCCESS && result != CR_NO_SUCH_DEVNODE;
                    const char letter = FirstLetter(*machine);
                    strange += letter != 'A' && letter != 'B';
                    const HANDLE device = OpenDisk(0);
                    STORAGE_DEVICE_NUMBER number = {};
                    strange += NumberError(device, number) != ERROR_SUCCESS;
                    strange += !Platform::CloseHandle(device) || Platform::CloseHandle(device);
                    machine->JournalEntries();
                }
            });
    testing::internal::CaptureStderr();
    for (int change = 0; change < 150; ++change)
    {
        if (change % 3 == 0)
            folder.Write("m.json", second.substr(0, 20));
        else
            std::filesystem::rename(folder.Write("new", change % 2 == 0 ? first : second), file);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    stop = true;
    for (std::thread& reader : readers)
        reader.join();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(strange, 0);
    Platform::SetCurrentMachine(nullptr);
}
