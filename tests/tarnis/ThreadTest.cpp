// Start and stop of the worker, and commands from many threads at once.
#include "libraries/zelKit/Clock.h"
#include "platform/WindowsApi.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/PluginTest.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <thread>

using namespace Support;

#if defined(_WIN32)
#include <windows.h>

#include <tlhelp32.h>
#endif

namespace
{

#if defined(_WIN32)
std::ptrdiff_t ThreadCount()
{
    const HANDLE list = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    std::ptrdiff_t count = 0;
    for (BOOL more = Thread32First(list, &entry); more != 0; more = Thread32Next(list, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    CloseHandle(list);
    return count;
}
#else
std::ptrdiff_t ThreadCount()
{
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}
#endif

/// Sends one command of a kind, 0 to 6.
/// @return whether it came out as it must
bool Send(IPLUGINAPI* plugin, unsigned kind, std::uint64_t object, std::size_t objectCount)
{
    std::vector<PI::CObject> objects;
    std::vector<PI::CProperty> properties;
    std::vector<PI::COperation> operations;
    PI::CProperty name(PI::PROP_NAME, false);
    PI::COperation collect(PI::OP_GET_EVENTS);
    switch (kind)
    {
    case 0:
        return plugin->Command(PI::COMMAND_GET_TOPOLOGY, 0, &objects) == 0 &&
               objects.size() == objectCount;
    case 1:
        return plugin->Command(PI::COMMAND_GET_PROPERTIES, object, &properties) == 0;
    case 2:
        return plugin->Command(PI::COMMAND_GET_PROPERTY, object, &name) == 0;
    case 3: // setting the interval would ring again, and again
        return plugin->Command(PI::COMMAND_SET_PROPERTY, object, &name) == PI::ERR_INVALID_PROPERTY;
    case 4:
        return plugin->Command(PI::COMMAND_GET_OPERATIONS, object, &operations) == 0;
    case 5:
        return plugin->Command(PI::COMMAND_CHECK_OPERATION, object, &collect) == 0;
    default:
        return plugin->Command(PI::COMMAND_EXECUTE_OPERATION, object, &collect) == 0 ||
               object != PluginId;
    }
}

/// A doorbell that sends every command from inside itself.
struct Host
{
    explicit Host(LoadedPlugin& plugin, std::size_t count) : objectCount(count)
    {
        plugin.Interface()->m_HostContext = this;
        plugin.Interface()->m_HostCallback = &Host::Ring;
    }

    static void Ring(void* context, IPLUGINAPI* plugin)
    {
        auto& host = *static_cast<Host*>(context);
        bool served = true;
        for (unsigned kind = 0; kind < 7; ++kind)
            for (const std::uint64_t object : {PluginId, AdapterId})
                served = Send(plugin, kind, object, host.objectCount) && served;
        const std::lock_guard guard(host.lock);
        host.rings += served;
        host.rung.notify_all();
    }

    bool WaitForRings(int count)
    {
        std::unique_lock guard(lock);
        return rung.wait_for(guard, std::chrono::seconds(60), [&] { return rings >= count; });
    }

    std::mutex lock;
    std::condition_variable rung;
    int rings = 0;
    const std::size_t objectCount;
};

/// Whether so many threads are left. The kernel strikes one off its list a moment after its end.
bool ThreadsAre(std::ptrdiff_t count)
{
    for (int tries = 0; ThreadCount() != count && tries < 1000; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return ThreadCount() == count;
}

std::int32_t SetInterval(LoadedPlugin& plugin, int seconds)
{
    PI::CProperty interval(PI::PROP_POLL_INTERVAL, true);
    interval.SetValue(seconds, 2, 255, 1U);
    return plugin.Command(PI::COMMAND_SET_PROPERTY, PluginId, &interval);
}

} // namespace

using Threads = PluginTest;

TEST_F(Threads, WorkerStartsAnswersAndStops)
{
    UseMachine(MachineOf(2));
    LoadedPlugin plugin;
    std::thread([] {}).join(); // a sanitizer starts a thread of its own beside the first of ours
    const std::ptrdiff_t before = ThreadCount();
    const unsigned rounds = Amount("TARNIS_TEST_STARTS", 3);
    for (unsigned round = 0; round < rounds; ++round)
    {
        plugin.Renew();
        Host host(plugin, 4);
        ASSERT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
        EXPECT_TRUE(ThreadsAre(before));
        ASSERT_EQ(plugin.Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &plugin.adapterIDs),
                  PI::ERR_SUCCESS);
        EXPECT_TRUE(ThreadsAre(before + 1));
        EXPECT_EQ(SetInterval(plugin, 100), PI::ERR_SUCCESS);
        EXPECT_TRUE(host.WaitForRings(1));
        EXPECT_EQ(SetInterval(plugin, 100), PI::ERR_SUCCESS); // the same value rings all the same
        EXPECT_TRUE(host.WaitForRings(2));
        EXPECT_EQ(plugin.Command(PI::COMMAND_DEINITIALIZE), PI::ERR_SUCCESS);
    }
    plugin.Renew();
    EXPECT_TRUE(ThreadsAre(before));
    EXPECT_EQ(Platform::OpenHandleCount(), 0U);
}

// Of two instances in one process, which share what is kept for it.
TEST_F(Threads, CommandsOfAllKindsAtOnce)
{
    UseMachine(MachineOf(8));
    LoadedPlugin plugins[2];
    Host hosts[] = {Host(plugins[0], 10), Host(plugins[1], 10)};
    for (LoadedPlugin& plugin : plugins)
    {
        ASSERT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
        ASSERT_EQ(plugin.Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &plugin.adapterIDs),
                  PI::ERR_SUCCESS);
    }

    std::atomic<int> wrong = 0;
    const unsigned steps = Amount("TARNIS_TEST_COMMANDS", 2400) / 8;
    std::atomic<bool> done = false;
    std::thread passes( // one after the other, as fast as they go
        [&]
        {
            while (!done)
            {
                AdvanceClock(300001); // SMART pages are read anew
                ZKT::Internals::SkipTime(std::chrono::seconds(1000));
                std::this_thread::yield();
            }
        });
    const auto run = [&](unsigned seed)
    {
        LoadedPlugin& plugin = plugins[seed % 2];
        for (unsigned step = 0; step < steps; ++step)
        {
            const unsigned kind = (seed * 7 + step) % 7;
            wrong += !Send(plugin.Interface(), kind, PluginId + (seed + step) % 10, 10);
            if (kind == 3 && step % 25 == 3)
                wrong += SetInterval(plugin, 2 + static_cast<int>(step % 250)) != 0;
        }
    };
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 8; ++seed)
        threads.emplace_back(run, seed);
    for (std::thread& thread : threads)
        thread.join();
    done = true;
    passes.join();
    EXPECT_EQ(wrong, 0);
    for (LoadedPlugin& plugin : plugins)
        EXPECT_EQ(plugin.Command(PI::COMMAND_DEINITIALIZE), PI::ERR_SUCCESS);
}
