// What a look at this computer's own disks costs, where the time goes, and how that compares with
// the bare calls to the disks and with smartctl. For a computer with AHCI disks, as root.
#include "bench/BareIoctls.h"
#include "contracts/PluginInterface.h"
#include "contracts/zelPlug.h"
#include "database/Storage.h"
#include "libraries/zelKit/Clock.h"
#include "platform/Machine.h"

#include <dlfcn.h>
#include <glob.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr int Rounds = 25;
constexpr int SmartctlEvery = 5;
constexpr std::chrono::seconds PollInterval{30};
constexpr std::chrono::seconds PagesExpire{301};

[[noreturn]] void Fail(const std::string& what)
{
    std::fprintf(stderr, "scan_bench: %s\n", what.c_str());
    std::_Exit(1);
}

double Microseconds()
{
    using namespace std::chrono;
    return duration<double, std::micro>(steady_clock::now().time_since_epoch()).count();
}

/// Where the time of one look went, in microseconds. Rows are written when the scan is done.
struct Split
{
    double total = 0;
    double scan = 0;
    double tree = 0;       ///< of the scan
    double commands = 0;   ///< of the scan: to the disks, with opening and closing
    double partitions = 0; ///< of the scan
    double rest = 0;       ///< of the scan
};

Split now; ///< of the look that is under way; one thread looks at a time
double begun = 0;
bool areParts = true; ///< whether the parts are timed too, which makes the look itself longer

/// Adds the time that a part of the scan took to its sum.
class Part
{
  public:
    explicit Part(double& sum) : m_Sum(sum) {}
    ~Part()
    {
        if (areParts && now.scan == 0)
            m_Sum += Microseconds() - m_Begun;
    }
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;

  private:
    double& m_Sum;
    double m_Begun = areParts ? Microseconds() : 0;
};

using namespace Platform;

/// A disk of this computer, with a watch on every call.
class TimedDevice : public Device
{
  public:
    explicit TimedDevice(std::unique_ptr<Device> device) : m_Device(std::move(device)) {}
    ~TimedDevice() override
    {
        const Part part(now.commands);
        m_Device.reset();
    }
    DWORD DiskNumber(DWORD& number) override { return m_Device->DiskNumber(number); }
    DWORD SmartVersion() override { return m_Device->SmartVersion(); }
    DWORD Identify(Sector& page) override
    {
        const Part part(now.commands);
        return m_Device->Identify(page);
    }
    DWORD SmartData(Sector& page) override
    {
        const Part part(now.commands);
        return m_Device->SmartData(page);
    }
    DWORD Length(std::uint64_t& bytes) override
    {
        const Part part(now.commands);
        return m_Device->Length(bytes);
    }

  private:
    std::unique_ptr<Device> m_Device;
};

/// This computer, with a watch on every call.
class TimedMachine : public Machine
{
  public:
    std::shared_ptr<const DeviceTree> ReadDeviceTree() override
    {
        if (begun == 0)
            begun = Microseconds(); // every look begins here
        const Part part(now.tree);
        return m_Machine->ReadDeviceTree();
    }
    DWORD OpenDevice(const std::string& path, bool writable,
                     std::unique_ptr<Device>& device) override
    {
        const Part part(now.commands);
        const DWORD error = m_Machine->OpenDevice(path, writable, device);
        if (error == ERROR_SUCCESS && areParts)
            device = std::make_unique<TimedDevice>(std::move(device));
        return error;
    }
    bool ModuleVersion(const std::string& service, std::string& version) override
    {
        return m_Machine->ModuleVersion(service, version);
    }
    bool Partitions(DWORD disk, std::vector<ZKTX::CSystemPartition>& partitions) override
    {
        const Part part(now.partitions);
        return m_Machine->Partitions(disk, partitions);
    }

  private:
    std::shared_ptr<Machine> m_Machine = ThisComputer();
};

struct TimedDatabase : DatabaseWrapper::DatabaseDAO
{
    std::vector<std::string> query(std::string statement) override
    {
        if (now.scan == 0)
            now.scan = Microseconds() - begun;
        return real->query(std::move(statement));
    }
    DatabaseWrapper::DatabaseDAO* real = nullptr;
};

/// The time that the plug-in goes by, which is moved to let its SMART pages grow old.
std::chrono::milliseconds ahead{0};
std::uint64_t Clock()
{
    using namespace std::chrono;
    const auto time = system_clock::now().time_since_epoch() + ahead;
    return static_cast<std::uint64_t>(duration_cast<milliseconds>(time).count());
}

CreateIfFunction createIf;

void LoadPlugin()
{
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    void* library = dlopen((folder / "tarnis.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        Fail(dlerror());
    createIf = reinterpret_cast<CreateIfFunction>(dlsym(library, "createIf"));
    ZKT::Internals::SetClock(Clock);
}

/// The plug-in; its worker stands still in the doorbell between two passes.
class Plugin
{
  public:
    /// Command 1: the start, and the first look.
    Split Start()
    {
        SetCurrentMachine(std::make_shared<TimedMachine>());
        if (createIf(&m_Plugin) != 0)
            Fail("the plug-in cannot be had");
        now = {};
        begun = Microseconds();
        if (m_Plugin->Command(PI::COMMAND_INITIALIZE, 0, &m_Ids) != 0)
            Fail("no AHCI disks, or no right to read them");
        now.total = Microseconds() - begun;
        return now;
    }

    void StartWorker()
    {
        m_Plugin->m_HostContext = this;
        m_Plugin->m_HostCallback = [](void* context, IPLUGINAPI*)
        { static_cast<Plugin*>(context)->Ring(); };
        m_Plugin->Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &m_Ids);
    }

    /// One pass of the worker, from the first look at the device tree to the doorbell.
    Split Pass(std::chrono::milliseconds later)
    {
        ahead += later;
        std::unique_lock guard(m_Lock);
        const int before = m_Released = m_Rings;
        now = {};
        begun = 0;
        m_Changed.notify_all();
        while (m_Rings == before)
        {
            // The worker may not have come to its wait yet.
            ZKT::Internals::SkipTime(later);
            m_Changed.wait_for(guard, std::chrono::milliseconds(100),
                               [&] { return m_Rings != before; });
        }
        return now;
    }

    void Stop()
    {
        {
            const std::lock_guard guard(m_Lock);
            m_Released = INT_MAX;
            m_Changed.notify_all();
        }
        m_Plugin->Command(PI::COMMAND_DEINITIALIZE, 0, nullptr);
    }

  private:
    void Ring()
    {
        const double ended = Microseconds();
        std::unique_lock guard(m_Lock);
        now.total = ended - begun;
        const int ring = ++m_Rings;
        m_Changed.notify_all();
        m_Changed.wait(guard, [&] { return m_Released >= ring; });
    }

    IPLUGINAPI* m_Plugin = nullptr;
    std::vector<PI::CAdapterID> m_Ids;
    std::mutex m_Lock;
    std::condition_variable m_Changed;
    int m_Rings = 0;
    int m_Released = 0;
};

/// The same work in a process of its own, which nothing was done in before.
Split InNewProcess(const std::function<Split()>& work)
{
    static auto* const result = static_cast<Split*>(
        mmap(nullptr, sizeof(Split), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const pid_t child = fork();
    if (child == 0)
    {
        *result = work();
        std::_Exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0)
        Fail("a process of its own does not do its work");
    return *result;
}

std::vector<std::string> DisksBehindAhci()
{
    glob_t found = {};
    std::vector<std::string> paths;
    if (glob("/sys/bus/pci/drivers/ahci/*:*/ata*/host*/target*/*/block/sd*", 0, nullptr, &found) ==
        0)
        for (std::size_t i = 0; i < found.gl_pathc; ++i)
            paths.push_back("/dev/" + std::filesystem::path(found.gl_pathv[i]).filename().string());
    globfree(&found);
    return paths;
}

double TimeOf(const std::vector<std::string>& disks, int (*call)(const char*))
{
    const double start = Microseconds();
    for (const std::string& disk : disks)
        if (call(disk.c_str()) != 0)
            Fail(disk + " does not answer");
    return Microseconds() - start;
}

int RunSmartctl(const char* disk)
{
    // Standard output goes nowhere already.
    const char* const arguments[] = {"smartctl", "-iA", disk, nullptr};
    pid_t child = 0;
    int status = 0;
    if (posix_spawnp(&child, arguments[0], nullptr, nullptr, const_cast<char* const*>(arguments),
                     environ) != 0 ||
        waitpid(child, &status, 0) != child)
        return -1;
    // Bits 0 and 1: wrong usage, a disk that does not open. Others tell of the disk's health.
    return WIFEXITED(status) && (WEXITSTATUS(status) & 3) == 0 ? 0 : -1;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// The rounds of one kind of look, each with the bare calls of the same round and, for where the
/// time goes, another look by its parts.
class Looks
{
  public:
    void Add(double bare, const std::function<Split()>& look)
    {
        areParts = false;
        const Split whole = look();
        areParts = true;
        Split parts = look();
        parts.total = whole.total;
        parts.rest = parts.scan - parts.tree - parts.commands - parts.partitions;
        parts.scan = whole.scan;
        m_Looks.push_back(parts);
        m_Bare.push_back(bare);
    }

    double Of(double Split::*part) const
    {
        std::vector<double> values;
        for (const Split& look : m_Looks)
            values.push_back(look.*part);
        return Median(values);
    }

    void Print(FILE* out, const char* name) const
    {
        std::vector<double> ratios;
        for (std::size_t i = 0; i < m_Looks.size(); ++i)
            ratios.push_back(m_Looks[i].scan / m_Bare[i]);
        const double scan = Of(&Split::scan);
        std::fprintf(out, "%-10s", name);
        for (const double value :
             {Of(&Split::total), scan, Of(&Split::tree), Of(&Split::commands),
              Of(&Split::partitions), Of(&Split::rest), Of(&Split::total) - scan, Median(m_Bare)})
            std::fprintf(out, " %10.0f", value);
        std::fprintf(out, " %6.2f\n", Median(ratios));
    }

  private:
    std::vector<Split> m_Looks;
    std::vector<double> m_Bare;
};

} // namespace

std::shared_ptr<DatabaseORM::storage_t> DatabaseORM::getDatabasePointer()
{
    // The plug-in finds this function before zelStore's own, which has the same name.
    static TimedDatabase& timed = *new TimedDatabase;
    void* const real = dlsym(RTLD_NEXT, "_ZN11DatabaseORM18getDatabasePointerEv");
    if (real == nullptr)
        Fail(dlerror());
    auto storage = reinterpret_cast<decltype(&DatabaseORM::getDatabasePointer)>(real)();
    timed.real = storage->dao;
    storage->dao = &timed;
    return storage;
}

int main()
{
    const auto disks = DisksBehindAhci();
    if (disks.empty())
        Fail("no disk behind the driver ahci");
    const auto database = std::filesystem::temp_directory_path() / "scan_bench.db";
    setenv("TARNIS_DATABASE", database.c_str(), 0);
    FILE* const out = fdopen(dup(STDOUT_FILENO), "w");
    if (out == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr)
        Fail("cannot open /dev/null"); // the line that each start prints goes there
    LoadPlugin();

    Looks starts;
    Looks fullScans;
    Looks polls;
    std::vector<double> smartctl;
    const auto start = []
    {
        Plugin plugin;
        return plugin.Start();
    };
    InNewProcess(start); // makes the rows
    for (int round = 0; round < Rounds; ++round)
    {
        starts.Add(TimeOf(disks, BareScan), [&] { return InNewProcess(start); });
    }

    Plugin plugin;
    plugin.Start();
    plugin.StartWorker();
    plugin.Pass(PollInterval);
    for (int round = 0; round < Rounds; ++round)
    {
        fullScans.Add(TimeOf(disks, BareScan), [&] { return plugin.Pass(PagesExpire); });
        polls.Add(TimeOf(disks, BarePoll), [&] { return plugin.Pass(PollInterval); });
        if (round % SmartctlEvery == 0) // the round after it starts with cold caches
            smartctl.push_back(TimeOf(disks, RunSmartctl));
    }
    plugin.Stop();

    std::fprintf(out, "%zu disks, medians of %d rounds, microseconds\n", disks.size(), Rounds);
    std::fprintf(out, "%-10s %10s %10s %10s %10s %10s %10s %10s %10s %6s\n", "", "total", "scan",
                 "tree", "commands", "partitions", "rest", "rows", "bare", "ratio");
    starts.Print(out, "start");
    fullScans.Print(out, "full scan");
    polls.Print(out, "poll");
    std::fprintf(out, "smartctl -iA of each: %.0f, %.0f times a full scan, %.0f with its rows\n",
                 Median(smartctl), Median(smartctl) / fullScans.Of(&Split::scan),
                 Median(smartctl) / fullScans.Of(&Split::total));
    std::fclose(out);
    return 0;
}
