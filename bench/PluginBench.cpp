// What a topology, a scan and a pass cost for many drives, two of them beside their floors, and
// what the evaluation of a page costs.
#include "contracts/PluginInterface.h"
#include "contracts/zelKitEx.h"
#include "contracts/zelPlug.h"
#include "libraries/zelKit/Clock.h"
#include "platform/Handles.h"
#include "platform/WindowsApi.h"
#include "platform/simulated/SimulatedMachine.h"
#include "tests/support/MachineBuilder.h"

#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace
{

CreateIfFunction createIf;
ReleaseIfFunction releaseIf;

[[noreturn]] void Fail(const std::string& what)
{
    std::fprintf(stderr, "plugin_bench: %s\n", what.c_str());
    std::exit(1);
}

void LoadPlugin()
{
    setenv("TARNIS_DATABASE", ":memory:", 1);
    void* library = dlopen(TARNIS_BIN_DIR "/tarnis.so", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        Fail(dlerror());
    createIf = reinterpret_cast<CreateIfFunction>(dlsym(library, "createIf"));
    releaseIf = reinterpret_cast<ReleaseIfFunction>(dlsym(library, "releaseIf"));
    // The line that each start prints would only be noise here.
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        Fail("cannot open /dev/null");
}

void UseMachine(std::int64_t drives)
{
    std::string message;
    const auto machine = Platform::SimulatedMachine::FromText(
        Support::MachineOf(static_cast<std::uint32_t>(drives)).dump(), ".", message);
    if (!machine)
        Fail(message);
    Platform::SetCurrentMachine(machine);
}

IPLUGINAPI* Start()
{
    IPLUGINAPI* plugin = nullptr;
    std::vector<PI::CAdapterID> ids;
    if (createIf(&plugin) != 0 || plugin->Command(PI::COMMAND_INITIALIZE, 0, &ids) != 0)
        Fail("the plug-in does not start");
    return plugin;
}

void Topology(benchmark::State& state)
{
    UseMachine(state.range(0));
    IPLUGINAPI* plugin = Start();
    std::vector<PI::CObject> objects;
    for (auto _ : state)
        if (plugin->Command(PI::COMMAND_GET_TOPOLOGY, 0, &objects) != 0)
            Fail("no topology");
    if (static_cast<std::int64_t>(objects.size()) != state.range(0) + 2)
        Fail("wrong topology");
    releaseIf(&plugin);
}

/// Floor of a topology: the finished tree copied into a vector that held one before.
void TopologyFloor(benchmark::State& state)
{
    UseMachine(state.range(0));
    IPLUGINAPI* plugin = Start();
    std::vector<PI::CObject> objects;
    std::vector<PI::CObject> copy;
    plugin->Command(PI::COMMAND_GET_TOPOLOGY, 0, &objects);
    for (auto _ : state)
    {
        copy.clear();
        copy.insert(copy.end(), objects.begin(), objects.end());
        benchmark::DoNotOptimize(copy.data());
    }
    releaseIf(&plugin);
}

/// A start: the driver check and the first scan. SMART pages are kept from an earlier start.
void Scan(benchmark::State& state)
{
    UseMachine(state.range(0));
    IPLUGINAPI* plugin = Start();
    releaseIf(&plugin);
    for (auto _ : state)
    {
        plugin = Start();
        releaseIf(&plugin);
    }
}

/// The processor time of the worker at its last ring, in nanoseconds, and how often it rang.
std::atomic<std::int64_t> workerTime;
std::atomic<int> rings;

void Ring(void*, IPLUGINAPI*)
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    workerTime = time.tv_sec * std::int64_t{1000000000} + time.tv_nsec;
    ++rings;
}

void AwaitPass()
{
    for (const int before = rings; rings == before;)
    {
        ZKT::Internals::SkipTime(std::chrono::seconds(30));
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

/// A pass of the worker in which nothing changed, with its rows.
void Pass(benchmark::State& state)
{
    UseMachine(state.range(0));
    IPLUGINAPI* plugin = nullptr;
    std::vector<PI::CAdapterID> ids;
    if (createIf(&plugin) != 0)
        Fail("the plug-in does not start");
    plugin->m_HostCallback = &Ring;
    if (plugin->Command(PI::COMMAND_INITIALIZE, 0, &ids) != 0 ||
        plugin->Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &ids) != 0)
        Fail("the plug-in does not start");
    AwaitPass();
    AwaitPass(); // the second makes up for what the first one lacked
    for (auto _ : state)
    {
        const std::int64_t before = workerTime;
        const int ringsBefore = rings;
        AwaitPass();
        // More than one may have been run.
        state.SetIterationTime(static_cast<double>(workerTime - before) / 1e9 /
                               (rings - ringsBefore));
    }
    plugin->Command(PI::COMMAND_DEINITIALIZE, 0, nullptr);
    releaseIf(&plugin);
}

void Walk(std::vector<DWORD>& numbers)
{
    using namespace Platform;
    numbers.clear();
    DEVINST root = 0;
    DEVINST node = 0;
    char text[2048];
    CM_Locate_DevNodeA(&root, nullptr, 0);
    const auto service = [&](DEVINST of)
    {
        ULONG length = 200;
        text[0] = '\0';
        return CM_Get_DevNode_Registry_PropertyA(of, CM_DRP_SERVICE, nullptr, text, &length, 0) ==
               CR_SUCCESS;
    };
    service(root);
    CM_Get_Child(&node, root, 0);
    service(node);
    bool more = CM_Get_Child(&node, node, 0) == CR_SUCCESS;
    while (more)
    {
        service(node);
        CM_Get_Device_IDA(node, text, sizeof text, 0);
        const DeviceInfoList list(SetupDiGetClassDevsA(&DiskInterfaceClass, text, nullptr,
                                                       DIGCF_PRESENT | DIGCF_DEVICEINTERFACE));
        SP_DEVICE_INTERFACE_DATA data = {};
        data.cbSize = sizeof data;
        for (DWORD index = 0;
             SetupDiEnumDeviceInterfaces(list.Get(), nullptr, &DiskInterfaceClass, index, &data);
             ++index)
        {
            alignas(DWORD) char block[1024] = {};
            auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A*>(block);
            detail->cbSize = sizeof *detail;
            DWORD size = 0;
            SetupDiGetDeviceInterfaceDetailA(list.Get(), &data, nullptr, 0, &size, nullptr);
            SetupDiGetDeviceInterfaceDetailA(list.Get(), &data, detail, sizeof block, &size,
                                             nullptr);
            const DeviceHandle device(CreateFileA(detail->DevicePath, GENERIC_READ, 3, nullptr,
                                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
            STORAGE_DEVICE_NUMBER number = {};
            if (DeviceIoControl(device.Get(), IOCTL_STORAGE_GET_DEVICE_NUMBER, nullptr, 0, &number,
                                sizeof number, &size, nullptr))
                numbers.push_back(number.DeviceNumber);
        }
        // The plug-in's walk meets each disk a second time, as a node like any other.
        service(node);
        DEVINST child = 0;
        CM_Get_Child(&child, node, 0);
        CM_Get_Child(&child, node, 0);
        CM_Get_Sibling(&child, node, 0);
        more = CM_Get_Sibling(&node, node, 0) == CR_SUCCESS;
    }
}

/// Floor of a start: the same answers of the simulated machine, asked for by bare calls.
void ScanFloor(benchmark::State& state)
{
    using namespace Platform;
    UseMachine(state.range(0));
    std::vector<DWORD> numbers;
    for (auto _ : state)
    {
        Walk(numbers);
        Walk(numbers);
        for (const DWORD number : numbers)
        {
            char path[64];
            std::snprintf(path, sizeof path, "\\\\.\\PhysicalDrive%u", number);
            const DeviceHandle drive(CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 7, nullptr,
                                                 OPEN_EXISTING, 0, nullptr));
            std::uint8_t block[545] = {};
            DWORD returned = 0;
            GETVERSIONINPARAMS version = {};
            DeviceIoControl(drive.Get(), SMART_GET_VERSION, nullptr, 0, &version, sizeof version,
                            &returned, nullptr);
            SENDCMDINPARAMS command = {};
            command.cBufferSize = SectorBytes;
            command.irDriveRegs = {0, 1, 1, 0, 0, 0xA0, ID_CMD, 0};
            std::memcpy(block, &command, sizeof command);
            DeviceIoControl(drive.Get(), SMART_RCV_DRIVE_DATA, block, 33, block, 545, &returned,
                            nullptr);
            GET_LENGTH_INFORMATION length = {};
            if (!DeviceIoControl(drive.Get(), IOCTL_DISK_GET_LENGTH_INFO, nullptr, 0, &length,
                                 sizeof length, &returned, nullptr))
                Fail("a disk does not answer");
            std::vector<ZKTX::CSystemPartition> partitions;
            ZKTX::CSystemPartitionTable("Disk " + std::to_string(number)).GetPartitions(partitions);
        }
    }
    if (static_cast<std::int64_t>(numbers.size()) != state.range(0))
        Fail("the floor misses disks");
}

/// A hard disk's page of a model that nobody knows, so that every family is tried.
PI::_IDE_SMART_DATA UnknownPage()
{
    PI::_IDE_SMART_DATA page = {};
    std::size_t next = 0;
    for (const int id :
         {1, 3, 4, 5, 7, 9, 10, 12, 187, 188, 190, 192, 193, 194, 197, 198, 199, 240, 241, 242})
    {
        page.m_Attributes[next].m_ID = static_cast<std::uint8_t>(id);
        page.m_Attributes[next++].m_Value = 100;
    }
    return page;
}

const std::string unknownVendor = "NOBODY";
const std::string unknownProduct = "KNOWS1000000-1AB2CD";

/// What a scan does for a page that it has not seen.
void Evaluation(benchmark::State& state)
{
    const PI::CSmartValues model(unknownVendor, unknownProduct);
    PI::_IDE_SMART_DATA page = UnknownPage();
    for (auto _ : state)
    {
        ++page.m_Attributes[5].m_Raw[0]; // hours
        PI::CSmartValues values = model;
        if (!values.Evaluate(page) || values.m_RemainingReserve != 100)
            Fail("no readings");
        benchmark::DoNotOptimize(values.m_PowerOnHours);
    }
}

/// What a scan does once for a model.
void Model(benchmark::State& state)
{
    for (auto _ : state)
    {
        const PI::CSmartValues values(unknownVendor, unknownProduct);
        benchmark::DoNotOptimize(values.IsSupported());
    }
}

/// Keeps the times and passes everything on.
class Keeper : public benchmark::ConsoleReporter
{
  public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            times[run.run_name.function_name + "/" + run.run_name.args] =
                run.run_name.time_type.empty() ? run.GetAdjustedCPUTime()
                                               : run.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }

    std::map<std::string, double> times; ///< microseconds of processor time
};

} // namespace

BENCHMARK(Topology)->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(TopologyFloor)->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(Pass)->RangeMultiplier(10)->Range(10, 10000)->UseManualTime()->Unit(
    benchmark::kMicrosecond);
BENCHMARK(Scan)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ScanFloor)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(Evaluation)->Unit(benchmark::kMicrosecond);
BENCHMARK(Model)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    LoadPlugin();
    Keeper keeper;
    keeper.SetOutputStream(&std::cerr);
    keeper.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&keeper);

    auto& t = keeper.times;
    if (t.count("Topology/100") + t.count("Topology/1000") == 2)
        std::fprintf(stderr,
                     "topology of 1000 drives: %.2f us a drive, %.2f times that of 100 drives, "
                     "%.2f times a copy of the tree\n",
                     t["Topology/1000"] / 1000, t["Topology/1000"] / t["Topology/100"],
                     t["Topology/1000"] / t["TopologyFloor/1000"]);
    for (const char* name : {"Topology", "TopologyFloor", "Pass"})
        if (const std::string text = name; t.count(text + "/100") + t.count(text + "/10000") == 2)
        {
            std::fprintf(stderr, "%s, us a drive:", name);
            for (const char* count : {"/10", "/100", "/1000", "/10000"})
                std::fprintf(stderr, " %.2f", t[text + count] / std::atof(count + 1));
            std::fprintf(stderr, "; 10000 drives to 100 of them: %.2f of proportion\n",
                         t[text + "/10000"] / t[text + "/100"] / 100);
        }
    if (t.count("Scan/1000") + t.count("ScanFloor/1000") == 2)
        std::fprintf(stderr,
                     "scan of 1000 drives: %.2f us a drive over the %.2f us of the answers alone\n",
                     (t["Scan/1000"] - t["ScanFloor/1000"]) / 1000, t["ScanFloor/1000"] / 1000);
    if (t.count("Evaluation/") + t.count("Model/") == 2)
        std::fprintf(stderr,
                     "a new page of an unknown model: %.2f us, and once %.2f us for its families\n",
                     t["Evaluation/"], t["Model/"]);
    return 0;
}
