#include "tests/faults/PluginScenario.h"

#include "contracts/PluginInterface.h"
#include "contracts/zelKit.h"
#include "host/System.h"
#include "libraries/zelKit/Clock.h"
#include "platform/CallGate.h"
#include "platform/WindowsApi.h"
#include "tests/faults/Clock.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/OtherProgram.h"
#include "tests/support/PluginTest.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <regex>

#include <dlfcn.h>

using nlohmann::json;

namespace
{

/// Stops the worker wherever it waits for its events, so that passes run one at a time.
class Steps
{
  public:
    static Steps& Get()
    {
        static Steps steps;
        return steps;
    }

    /// Called by the worker. @return how long it waits in earnest
    std::uint32_t Arrive(std::uint32_t milliseconds)
    {
        std::unique_lock guard(m_Lock);
        ++m_Arrived;
        m_Changed.notify_all();
        m_Changed.wait(guard, [this] { return m_IsFree || m_Arrived <= m_Wanted; });
        return m_IsFree ? milliseconds : 1;
    }

    /// Lets a worker go to its next wait. @return false when it does not come there
    bool Next()
    {
        std::unique_lock guard(m_Lock);
        ++m_Wanted;
        m_Changed.notify_all();
        return m_Changed.wait_for(guard, std::chrono::seconds(400),
                                  [this] { return m_Arrived > m_Wanted; });
    }

    void Begin()
    {
        const std::lock_guard guard(m_Lock);
        m_Wanted = -1;
        m_Arrived = 0;
        m_IsFree = false;
    }

    void Free()
    {
        const std::lock_guard guard(m_Lock);
        m_IsFree = true;
        m_Changed.notify_all();
    }

  private:
    std::mutex m_Lock;
    std::condition_variable m_Changed;
    int m_Wanted = -1;
    int m_Arrived = 0;
    bool m_IsFree = false;
};

} // namespace

// This definition comes before that of the library.
std::uint32_t ZKT::Threading::CWaiter::Wait(std::uint32_t milliseconds, bool waitForAll)
{
    using Function = std::uint32_t (*)(CWaiter*, std::uint32_t, bool);
    std::uint32_t time = 0;
    Function next = nullptr;
    {
        const Faults::Spared harness;
        time = Steps::Get().Arrive(milliseconds);
        static void* const found = dlsym(RTLD_NEXT, "_ZN3ZKT9Threading7CWaiter4WaitEjb");
        next = reinterpret_cast<Function>(found);
    }
    return next(this, time, waitForAll);
}

namespace Faults
{

namespace
{

using Support::Disk;

/// Drives come, go and turn bad, one change after the other.
json MachineAt(unsigned step)
{
    json first = Disk(0);
    first["partitions"] = json::array();
    if (step >= 3)
        first["smart"] = Support::SmartPage({{9, 100, 8000}, {194, 77, 23}, {233, 1, 0}});
    std::vector<json> disks = {first};
    if (step < 2)
        disks.push_back(Disk(1));
    if (step >= 1)
        disks.push_back(Disk(2));
    return Support::MachineWith(disks);
}

std::uint64_t g_time = 1770000000000; // early in 2026

constexpr unsigned Changes = 3;
constexpr int Interval = 40; ///< seconds, set by the host

/// Objects as text, with their places for ids: a pass that was given up may have used some ids.
std::string PictureOf(const std::vector<PI::CObject>& objects, bool withCounts)
{
    std::map<std::uint64_t, std::size_t> places;
    for (const PI::CObject& object : objects)
        places.emplace(object.m_ID, places.size());
    std::ostringstream out;
    for (const PI::CObject& object : objects)
    {
        out << "object " << object.m_Type << " of";
        for (const std::uint64_t id : object.m_Parents)
            out << ' ' << places[id];
        out << " with";
        for (const std::uint64_t id : object.m_Children)
            out << ' ' << places[id];
        if (withCounts)
            out << " changed " << object.m_ChangeCount;
        out << '\n';
        for (const PI::CProperty& property : object.m_Properties)
            if (property.m_ID != PI::PROP_POLL_INTERVAL)
                out << "  " << property.m_ID << ' ' << Support::ValueText(property) << '\n';
    }
    return out.str();
}

json RowsOf(const std::string& file)
{
    static const std::regex id("\\b8584\\d{13}\\b");
    json rows = json::array();
    for (const std::string& row : Support::AllRows(file))
        rows.push_back(std::regex_replace(row, id, "id"));
    return rows;
}

std::ptrdiff_t EntriesOf(const char* folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

/// One life of an instance.
class Life
{
  public:
    Life(const std::string& folder, void* library) : m_Folder(folder)
    {
        std::string reason;
        m_Create =
            reinterpret_cast<CreateIfFunction>(Host::FindSymbol(library, "createIf", reason));
        m_Release =
            reinterpret_cast<ReleaseIfFunction>(Host::FindSymbol(library, "releaseIf", reason));
    }

    /// Also lets so much time pass that SMART pages are read anew.
    void PutMachine(unsigned step)
    {
        g_time += 400000;
        std::ofstream(m_Folder + "/new") << MachineAt(step).dump();
        std::filesystem::rename(m_Folder + "/new", m_Folder + "/machine.json");
    }

    /// Up to the point at which the host has seen all changes.
    void Run(unsigned firstStep)
    {
        PutMachine(firstStep);
        m_Told["create"] = Send([&] { return m_Create(&m_Plugin); });
        if (m_Plugin == nullptr)
            return;
        m_Plugin->m_HostCallback = [](void*, IPLUGINAPI*) {};
        std::vector<PI::CAdapterID> ids;
        const int begun = Command("initialize", PI::COMMAND_INITIALIZE, 0, &ids);
        m_Told["adapters"] = ids.size();
        m_HasLocks = begun != PI::ERR_LOCK_INITIALIZATION_FAILED;
        if (begun != 0)
            return;
        Look();
        PI::CProperty interval(PI::PROP_POLL_INTERVAL, true);
        if (firstStep == 0 && // later lives find what was set
            Command("interval", PI::COMMAND_GET_PROPERTY, m_PluginId, &interval) == 0)
            m_Told["interval"] = Support::ValueText(interval);
        Steps::Get().Begin();
        if (Command("start", PI::COMMAND_SET_ADAPTER_IDS, 0, &ids) != 0 ||
            ZKT::Threading::CThread::HasCreateFailed())
            return;
        m_IsWatching = true;
        Step(); // to its first wait
        for (unsigned step = firstStep; step <= Changes; ++step)
        {
            PutMachine(step);
            Step();
            Look();
            CollectEvents();
        }
        AskAndSet();
    }

    /// What is right again when nothing fails any more.
    void Settle()
    {
        if (m_IsWatching)
        {
            g_time += 400000; // a page of the machine before may be kept
            SetInterval();    // which may have failed before
            Step();           // it rings for that
            for (int pass = 0; pass < 3; ++pass)
                Step();
            std::vector<PI::CObject> before = Topology();
            CollectEvents();
            m_Told["rows"] = RowsOf(m_Folder + "/rows.db");
            Step();
            CollectEvents();
            m_Told["settled"] = PictureOf(Topology(), false);
            m_Told["still"] = PictureOf(before, true) == PictureOf(Topology(), true);
        }
        Steps::Get().Free();
        if (m_Plugin != nullptr && m_HasLocks)
            Command("stop", PI::COMMAND_DEINITIALIZE, 0, nullptr);
        m_Release(&m_Plugin);
        m_Told["handles"] = Platform::OpenHandleCount();
        m_Told["threads"] = EntriesOf("/proc/self/task");
    }

    json Told() const { return m_Told; }

  private:
    template <class Call> static std::int32_t Send(Call call)
    {
        const Counted counted;
        return call();
    }

    std::int32_t Command(const char* name, std::int32_t command, std::uint64_t object, void* record)
    {
        const std::int32_t code = Send([&] { return m_Plugin->Command(command, object, record); });
        m_Told["codes"].push_back({name, code});
        return code;
    }

    void Step()
    {
        if (!Steps::Get().Next())
            throw std::runtime_error("the worker does not come back to its wait");
    }

    std::vector<PI::CObject> Topology()
    {
        std::vector<PI::CObject> objects;
        if (Command("topology", PI::COMMAND_GET_TOPOLOGY, 0, &objects) == 0)
            m_PluginId = objects.front().m_ID;
        return objects;
    }

    void Look()
    {
        const std::vector<PI::CObject> objects = Topology();
        m_Told["pictures"].push_back(PictureOf(objects, false));
    }

    void CollectEvents()
    {
        PI::COperation collect(PI::OP_GET_EVENTS);
        Command("events", PI::COMMAND_EXECUTE_OPERATION, m_PluginId, &collect);
        for (const PI::CEvent& event : collect.m_Events)
            m_Told["events"].push_back(std::to_string(event.m_EventID) + ' ' + event.GetSource() +
                                       '|' + event.GetPlaceHolder1() + '|' +
                                       event.GetPlaceHolder2() + '|' + event.GetPlaceHolder3() +
                                       '|' + event.GetPlaceHolder4());
    }

    std::int32_t SetInterval()
    {
        PI::CProperty interval(PI::PROP_POLL_INTERVAL, true);
        interval.SetValue(Interval, 2, 255, 1U);
        return Command("set", PI::COMMAND_SET_PROPERTY, m_PluginId, &interval);
    }

    void AskAndSet()
    {
        std::vector<PI::CProperty> all;
        std::vector<PI::COperation> operations;
        PI::CProperty name(PI::PROP_NAME, false);
        const auto isWhole = [](std::int32_t code, bool isEmpty) { return code == 0 || isEmpty; };
        m_Told["whole"] =
            isWhole(Command("properties", PI::COMMAND_GET_PROPERTIES, m_PluginId, &all),
                    all.empty()) &&
            isWhole(Command("operations", PI::COMMAND_GET_OPERATIONS, m_PluginId, &operations),
                    operations.empty());
        if (Command("property", PI::COMMAND_GET_PROPERTY, m_PluginId, &name) == 0)
            m_Told["name"] = Support::ValueText(name);
        m_Told["set"] = SetInterval() == 0;
        std::ifstream file(m_Folder + "/tarnis.ini");
        m_Told["settings"] = std::string(std::istreambuf_iterator<char>(file), {});
    }

    const std::string m_Folder;
    CreateIfFunction m_Create;
    ReleaseIfFunction m_Release;
    IPLUGINAPI* m_Plugin = nullptr;
    bool m_HasLocks = false;
    bool m_IsWatching = false;
    std::uint64_t m_PluginId = Support::PluginId;
    json m_Told = {{"codes", json::array()},
                   {"pictures", json::array()},
                   {"events", json::array()},
                   {"rows", json::array()}};
};

template <class Run> std::string ToldOf(const std::string& folder, void* library, const Run& run)
{
    Life life(folder, library);
    run(life);
    life.Settle();
    return life.Told().dump();
}

} // namespace

json RunPluginScenario(const std::string& folder, const std::string& kind, long position,
                       Times times)
{
    const Spared harness;
    SetClockSpeed(40);
    const long blocks = LiveBlocks();
    ZKT::Internals::SetClock([] { return g_time; });
    setenv("TARNIS_CONFIG_DIR", folder.c_str(), 1);
    setenv("TARNIS_DATABASE", (folder + "/rows.db").c_str(), 1);
    setenv("TARNIS_MACHINE", (folder + "/machine.json").c_str(), 1);
    std::ofstream(folder + "/tarnis.ini") << "PollInterval=50\n";
    Platform::SetCallGate([](const char* name) { return !Fails("platform", name); });
    std::string reason;
    void* const library =
        Host::OpenLibrary(TARNIS_BIN_DIR + std::string("/") + Host::pluginFileName, reason);

    long calls = 0;
    const auto disturbed = [&](Life& life)
    {
        Begin(kind.c_str(), position, times);
        life.Run(0);
        calls = End();
    };
    const auto after = [](Life& life) { life.Run(Changes); };
    const std::string told[] = {ToldOf(folder, library, disturbed), ToldOf(folder, library, after)};
    const long left = LiveBlocks() - blocks; // but for these texts
    return {{"calls", calls},
            {"disturbed", json::parse(told[0])},
            {"after", json::parse(told[1])},
            {"files", EntriesOf("/proc/self/fd")},
            {"memory", left}};
}

namespace
{

using Lines = std::vector<std::string>;

/// Fails unless what the host saw while calls failed is what it saw without, or an error.
void JudgeAnswers(const json& right, const json& seen, const std::string& kind, Lines& wrong)
{
    const bool isMemory = kind == "memory";
    for (const json& code : seen["codes"])
        if (isMemory && code[0] != "set" && code[1] != 0 && code[1] != PI::ERR_MEMORY_ERROR &&
            code[1] != PI::ERR_LOCK_INITIALIZATION_FAILED)
            wrong.push_back("command " + code.dump());
    if (isMemory && seen.contains("interval") && seen["interval"] != right["interval"])
        wrong.push_back("the interval of the settings file was not read");
    if (seen.contains("whole") && seen["whole"] != true)
        wrong.push_back("a command that failed left something in its record");
    std::size_t place = 0;
    const json& pictures = right["pictures"];
    for (const json& picture : seen["pictures"])
    {
        if (picture == "")
            continue;
        while (place < pictures.size() && pictures[place] != picture)
            ++place;
        if (place == pictures.size())
        {
            wrong.push_back("a picture that is not right:\n" + picture.get<std::string>());
            break;
        }
    }
    if (seen.contains("set") && seen["settings"] != right["settings"] &&
        (seen["set"] == true || seen["settings"] != "PollInterval=50\n"))
        wrong.push_back("settings: " + seen["settings"].dump());
}

void JudgeEnd(const json& right, const json& seen, Lines& wrong)
{
    if (!seen.contains("settled"))
        return;
    for (const char* part : {"settled", "still", "rows"})
        if (seen[part] != right[part])
            wrong.push_back(std::string(part) +
                            " differs: " + json::diff(right[part], seen[part]).dump(1) +
                            (seen[part].is_string() ? seen[part].get<std::string>() : ""));
}

} // namespace

std::string Judge(const json& right, const json& seen, const std::string& kind)
{
    Lines wrong;
    const json& before = right["disturbed"];
    const json& disturbed = seen["disturbed"];
    if (kind != "platform")
    {
        JudgeAnswers(before, disturbed, kind, wrong);
        auto events = disturbed["events"].get<Lines>();
        auto rightEvents = before["events"].get<Lines>();
        std::ranges::sort(events);
        std::ranges::sort(rightEvents);
        if (disturbed.contains("settled") && events != rightEvents)
            wrong.push_back("events: " + json(events).dump(1));
    }
    JudgeEnd(before, disturbed, wrong);
    // A machine file that could not be read at first is none for as long as the process lives.
    const json noMachine = {"initialize", int(PI::ERR_NO_SUPPORTED_HARDWARE)};
    const bool hasMachine =
        kind == "platform" || disturbed["codes"].empty() || disturbed["codes"].front() != noMachine;
    if (hasMachine && seen["after"] != right["after"])
        wrong.push_back("the next instance: " + json::diff(right["after"], seen["after"]).dump(1));
    for (const char* part : {"handles", "threads"})
        if (disturbed[part] != before[part])
            wrong.push_back(part + (": " + disturbed[part].dump()));
    // Two texts about what went wrong keep their memory for the next: of the machine, of the rows.
    for (const auto& [part, kept] : {std::pair("files", 0), {"memory", 2}})
        if (seen[part] > right[part].get<int>() + kept)
            wrong.push_back(part + (" left: " + seen[part].dump() + " not " + right[part].dump()));
    std::string text;
    for (const std::string& line : wrong)
        text += line + '\n';
    return text;
}

} // namespace Faults
