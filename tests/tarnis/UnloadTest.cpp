// A host that has none of the libraries itself: what a load brings, an unload takes away, and a
// process may end while the worker runs.
#include "contracts/PluginInterface.h"
#include "contracts/zelPlug/AdapterID.h"
#include "tests/support/TestFolder.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include <dlfcn.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{

/// Blocks that malloc keeps for a thread count as used: the process starts anew without them.
[[gnu::constructor, gnu::used]] void KeepNoBlocks(int, char** words, char**)
{
    if (getenv("GLIBC_TUNABLES") != nullptr)
        return;
    setenv("GLIBC_TUNABLES", "glibc.malloc.tcache_count=0", 1);
    execv("/proc/self/exe", words);
}

/// Loads the plug-in and sends commands 1 and 2.
class LoadedHost
{
  public:
    LoadedHost()
    {
        const auto create =
            reinterpret_cast<CreateIfFunction>(dlsym(m_Library, "createIf")); // null if not loaded
        if (create == nullptr || create(&m_Plugin) != 0)
            return;
        std::vector<PI::CAdapterID> adapters;
        hasStarted = m_Plugin->Command(PI::COMMAND_INITIALIZE, 0, &adapters) == 0 &&
                     m_Plugin->Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &adapters) == 0;
    }
    ~LoadedHost()
    {
        if (hasStarted)
            m_Plugin->Command(PI::COMMAND_DEINITIALIZE, 0, nullptr);
        reinterpret_cast<ReleaseIfFunction>(dlsym(m_Library, "releaseIf"))(&m_Plugin);
        dlclose(m_Library);
    }
    LoadedHost(const LoadedHost&) = delete;
    LoadedHost& operator=(const LoadedHost&) = delete;

    bool hasStarted = false;

  private:
    void* m_Library = dlopen(TARNIS_BIN_DIR "/tarnis.so", RTLD_NOW | RTLD_LOCAL);
    IPLUGINAPI* m_Plugin = nullptr;
};

/// Libraries in the address space.
std::set<std::string> Mapped()
{
    std::ifstream maps("/proc/self/maps");
    std::set<std::string> files;
    for (std::string line; std::getline(maps, line);)
        if (const auto slash = line.find('/'); slash != line.npos)
            files.insert(line.substr(slash));
    return files;
}

std::ptrdiff_t OpenFiles()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class Unload : public testing::Test
{
  protected:
    Unload()
    {
        setenv("TARNIS_CONFIG_DIR", m_Folder.Path().c_str(), 1);
        setenv("TARNIS_DATABASE", m_Folder.File("rows.db").c_str(), 1);
        setenv("TARNIS_TRACE_FILE", m_Folder.File("trace").c_str(), 1);
        setenv("TARNIS_TRACE_MASK", "0xFFFFFFFF", 1);
    }

    const TestFolder m_Folder;
};

} // namespace

TEST_F(Unload, LeavesNothing)
{
    const struct
    {
        std::string machine;
        bool starts;
    } cases[] = {{TARNIS_SOURCE_DIR "/samples/workstation/machine.json", true},
                 {m_Folder.Write("none", R"({"version": 1})"), false},
                 {m_Folder.Write("wrong", "{"), false}};
    const auto load = [&](const auto& machine)
    {
        setenv("TARNIS_MACHINE", machine.machine.c_str(), 1);
        const LoadedHost host;
        EXPECT_EQ(host.hasStarted, machine.starts) << machine.machine;
        if (host.hasStarted)
            std::this_thread::sleep_for(130ms); // into the first pass, or past it
    };
    for (const auto& machine : cases)
    {
        SCOPED_TRACE(machine.machine);
        for (int i = 0; i < 5; ++i)
            load(machine);
        const auto files = OpenFiles();
        const auto mapped = Mapped();
        const std::size_t used = mallinfo2().uordblks;
        for (int i = 0; i < 20; ++i)
            load(machine);
        EXPECT_EQ(OpenFiles(), files);
        EXPECT_EQ(Mapped(), mapped);
        EXPECT_LT(mallinfo2().uordblks, used + 1024);
        for (const std::string& file : mapped)
            EXPECT_EQ(file.find("/libzel"), file.npos) << file;
    }
    setenv("TARNIS_MACHINE", "", 1); // this computer
    {
        const LoadedHost host;
    }
    const auto files = OpenFiles();
    {
        const LoadedHost host;
    }
    EXPECT_EQ(OpenFiles(), files);
}

TEST_F(Unload, ProcessEndsWithARunningWorker)
{
    nlohmann::json disks, nodes;
    for (int number = 0; number < 12; ++number)
    {
        disks.push_back({{"number", number},
                         {"bytes", 1000},
                         {"identify", {{"model", "INTEL SSDSC2BB240G7"}}},
                         {"smart", {{"attributes", nlohmann::json::array()}}},
                         {"delay_ms", {{"identify", 5}}}});
        nodes.push_back({{"id", "D" + std::to_string(number)},
                         {"service", "disk"},
                         {"disks", nlohmann::json::array({number})}});
    }
    const nlohmann::json controller = {{"id", "C"}, {"service", "storahci"}, {"children", nodes}};
    const nlohmann::json machine = {
        {"version", 1}, {"disks", disks}, {"devices", nlohmann::json::array({controller})}};
    setenv("TARNIS_MACHINE", m_Folder.Write("slow", machine.dump()).c_str(), 1);

    const auto endWhileItRuns = [](std::chrono::milliseconds moment)
    {
        // Behind everything that a library does when the process ends.
        std::atexit([] { std::this_thread::sleep_for(100ms); });
        mallopt(M_PERTURB, 0x55); // what is freed looks it
        auto& host = *new LoadedHost;
        std::this_thread::sleep_for(moment);
        std::exit(host.hasStarted ? 0 : 1);
    };
    for (int round = 0; round < 5; ++round)
    {
        for (int run = 0; run < 10; ++run)
            if (fork() == 0)
                endWhileItRuns(90ms + (10 * round + run) * 2ms);
        int status = -1;
        while (wait(&status) > 0)
            EXPECT_EQ(status, 0) << round;
    }
}
