#include "tests/platform/Support.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <sys/resource.h>
#endif

namespace
{

std::string OneDisk(const std::string& model, const std::string& numbers = "0")
{
    return MachineText(numbers, "{\"number\": 0, \"identify\": {\"model\": \"" + model + "\"}}");
}

/// A machine read from a file in a folder of its own.
struct Rereading : testing::Test
{
    /// @return the first letter of disk 0's model after a walk
    char Letter() const
    {
        machine->ReadDeviceTree();
        Platform::Sector page = {};
        const auto device = Open(*machine, 0);
        return device && device->Identify(page) == ERROR_SUCCESS ? static_cast<char>(page[55]) : 0;
    }

    const TestFolder folder;
    const std::string good = OneDisk("A");
    const std::string file = folder.Write("m.json", good);
    std::string message;
    const std::shared_ptr<Platform::SimulatedMachine> machine =
        Platform::SimulatedMachine::FromFile(file, message);
};

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

TEST_F(Rereading, ChangesAreTakenUpAtAWalk)
{
    const auto device = Open(*machine, 0);
    const auto tree = machine->ReadDeviceTree();

    // Same size, some within one step of the file system's clock, in place.
    for (int change = 0; change < 200; ++change)
    {
        const std::string model(1, static_cast<char>('B' + change % 20));
        folder.Write("m.json", OneDisk(model));
        EXPECT_EQ(machine->ReadDeviceTree(), tree) << "an equal tree is the same tree";
        ASSERT_EQ(Letter(), model[0]);
    }
    // One that the file system's clock does not tell from the last.
    folder.Write("m.json", OneDisk("X"));
    const auto written = std::filesystem::last_write_time(file);
    EXPECT_EQ(Letter(), 'X');
    folder.Write("m.json", OneDisk("Y"));
    std::filesystem::last_write_time(file, written);
    EXPECT_EQ(Letter(), 'Y');
    // By rename, with another tree.
    std::filesystem::rename(folder.Write("new", MachineText("5, 6", "{\"number\": 5}")), file);
    EXPECT_EQ(device->SmartVersion(), ERROR_SUCCESS) << "no walk yet";
    EXPECT_NE(machine->ReadDeviceTree(), tree);
    EXPECT_EQ(device->SmartVersion(), ERROR_NOT_READY) << "the disk is gone";
    EXPECT_TRUE(Open(*machine, 5));
}

TEST_F(Rereading, AWrongVersionLeavesTheLastGoodOneWithOneWarning)
{
    const auto walk = [&]
    {
        EXPECT_EQ(Letter(), 'A');
        EXPECT_EQ(Letter(), 'A');
        // Beyond the time in which a file counts as freshly changed.
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        EXPECT_EQ(Letter(), 'A');
        EXPECT_EQ(Letter(), 'A');
    };
    folder.Write("m.json", good.substr(0, good.size() / 2));
    EXPECT_TRUE(ExpectWarnings(1, walk).starts_with(file + ": line "));
    std::filesystem::remove(file);
    ExpectWarnings(1, walk);
    folder.Write("m.json", good);
    ExpectWarnings(0, walk);
    folder.Write("m.json", OneDisk("Z"));
    EXPECT_EQ(Letter(), 'Z');

    // The same with a page in a file of its own.
    folder.Write("m.json", MachineText("0", R"({"number": 0, "identify": "page"})"));
    for (const char letter : {'a', 'b'})
    {
        folder.Write("page", std::string(512, letter));
        EXPECT_EQ(Letter(), letter);
    }
    std::filesystem::remove(folder.File("page"));
    ExpectWarnings(1, [&] { EXPECT_EQ(Letter(), 'b'); });
    EXPECT_FALSE(machine->Replace("{", message));
    EXPECT_EQ(Letter(), 'b');

    // The file no longer counts behind a text. What is wrong with that one is told of again.
    folder.Write("m.json", OneDisk("M"));
    const std::filesystem::path page = folder.File("other page");
    for (const char letter : {'s', 't'})
    {
        folder.Write("other page", std::string(512, letter));
        EXPECT_TRUE(machine->Replace(
            MachineText("0", R"({"number": 0, "identify": ")" + page.generic_string() + "\"}"),
            message));
        std::filesystem::remove(page);
        ExpectWarnings(1, [&] { EXPECT_EQ(Letter(), letter); });
        ExpectWarnings(0, [&] { EXPECT_EQ(Letter(), letter); });
    }
}

#if !defined(_WIN32)
TEST_F(Rereading, AVersionThatCannotBeReadForAShortageIsReadAgain)
{
    const std::string paged = R"({"number": 0, "identify": "page"})";
    folder.Write("page", std::string(512, 'p'));
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    for (const std::string& text : {OneDisk("B"), MachineText("0", paged)})
    {
        folder.Write("m.json", text);
        // Beyond the time in which a file counts as freshly changed, and is read again anyway.
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        const rlimit none = {3, limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_THROW(machine->ReadDeviceTree(), std::bad_alloc);
        EXPECT_THROW(Platform::SimulatedMachine::FromFile(file, message), std::bad_alloc);
        setrlimit(RLIMIT_NOFILE, &limit);
        ExpectWarnings(0,
                       [&] { EXPECT_EQ(Letter(), text == MachineText("0", paged) ? 'p' : 'B'); });
    }
}
#endif

TEST_F(Rereading, ReadersMayWorkWhileTheFileChanges)
{
    const std::string second = OneDisk("B", "0, 1");
    Platform::SetCurrentMachine(machine);

    std::atomic<bool> stop = false;
    std::atomic<int> strange = 0;
    const auto read = [&]
    {
        while (!stop)
        {
            DEVINST node = 0;
            Platform::CM_Locate_DevNodeA(&node, nullptr, 0);
            // Another walker's new picture may have made the node an old one.
            const CONFIGRET result = Platform::CM_Get_Child(&node, node, 0);
            strange += result != CR_SUCCESS && result != CR_NO_SUCH_DEVNODE;
            const char letter = Letter();
            strange += letter != 'A' && letter != 'B';
            const HANDLE device = OpenDisk(0);
            STORAGE_DEVICE_NUMBER number = {};
            strange += NumberError(device, number) != ERROR_SUCCESS;
            strange += !Platform::CloseHandle(device) || Platform::CloseHandle(device);
            machine->JournalEntries();
        }
    };
    std::vector<std::jthread> readers;
    for (int reader = 0; reader < 3; ++reader)
        readers.emplace_back(read);
    testing::internal::CaptureStderr();
    for (int change = 0; change < 150; ++change)
    {
        if (change % 3 == 0)
            folder.Write("m.json", second.substr(0, 20));
        else
        {
            // Windows refuses it while a reader has the old file open.
            std::error_code error;
            do
                std::filesystem::rename(folder.Write("new", change % 2 == 0 ? good : second), file,
                                        error);
            while (error);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    stop = true;
    readers.clear(); // waits for them
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(strange, 0);
    Platform::SetCurrentMachine(nullptr);
}
