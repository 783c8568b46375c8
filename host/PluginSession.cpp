#include "host/PluginSession.h"

#include "contracts/zelKit/Environment.h"
#include "contracts/zelKitEx/System.h"
#include "host/Failure.h"
#include "host/MemoryReserve.h"
#include "host/Names.h"
#include "host/Output.h"
#include "host/PrintedText.h"
#include "host/System.h"

#include <exception>
#include <sstream>

namespace
{

std::string LibraryPath(const std::string& plugin)
{
    if (!plugin.empty()) // a plain name means a file here, not one that the loader looks for
        return plugin.find_first_of(Host::folderSeparators) == std::string::npos ? "./" + plugin
                                                                                 : plugin;
    const std::string beside = Host::PluginBesideProgram();
    return beside.empty() ? Host::pluginFileName : beside;
}

[[noreturn]] void FailLoading(const std::string& reason)
{
    throw Host::Failure(Host::EXIT_PLUGIN, "the plug-in could not be loaded: " + reason);
}

// The machine comes first: a wrong machine file is told as such, whatever becomes of the plug-in.
const std::string& WithMachineOpen(const std::string& plugin)
{
    std::string message;
    if (!ZKTX::CSystem::OpenMachine(message))
        throw Host::Failure(Host::EXIT_USAGE, message);
    return plugin;
}

[[noreturn]] void FailWithoutHardware()
{
    const std::string machine = ZKT::Misc::GetVariable("TARNIS_MACHINE");
    throw Host::Failure(
        Host::EXIT_NO_HARDWARE,
        "no supported AHCI controller was found: " + Host::CodeText(PI::ERR_NO_SUPPORTED_HARDWARE) +
            (machine.empty() ? " on this computer; --machine FILE shows a machine file in its place"
                             : " in the machine file " + machine));
}

/// Whether somebody wants to see what the plug-in does.
bool IsTracing()
{
    return Host::ParseNumber(ZKT::Misc::GetVariable("TARNIS_TRACE_MASK")).value_or(0) != 0;
}

/// Carries a step out. What it prints on standard output is shown but for the line in which a
/// plug-in counts its adapters.
template <class Step> void WithoutStartLine(Step step)
{
    Host::PrintedText printed;
    step();
    try
    {
        std::istringstream lines(printed.Take());
        for (std::string line; std::getline(lines, line);)
            if (line.find(":  Initialize:  adapter count is ") == std::string::npos)
                Host::PrintError(line);
    }
    catch (const std::exception&)
    {
        // No memory for them. What the step began must be ended all the same.
    }
}

} // namespace

namespace Host
{

PluginSession::Library::Library(const std::string& plugin)
{
    std::string reason;
    m_Handle = OpenLibrary(LibraryPath(plugin), reason);
    if (m_Handle == nullptr)
        FailLoading(reason);
}

PluginSession::Library::~Library()
{
    CloseLibrary(m_Handle);
}

void* PluginSession::Library::Symbol(const char* name) const
{
    std::string reason;
    void* symbol = FindSymbol(m_Handle, name, reason);
    if (symbol == nullptr)
        FailLoading(reason);
    return symbol;
}

PluginSession::Instance::Instance(const Library& library)
    : m_Release(reinterpret_cast<ReleaseIfFunction>(library.Symbol("releaseIf")))
{
    const auto create = reinterpret_cast<CreateIfFunction>(library.Symbol("createIf"));
    const std::int32_t code = create(&m_Plugin);
    if (code != PI::ERR_SUCCESS || m_Plugin == nullptr)
    {
        m_Release(&m_Plugin);
        throw Failure(EXIT_PLUGIN, "the plug-in gave no interface: " + CodeText(code));
    }
    constexpr std::uint32_t spoken = 2;
    if (const std::uint32_t version = m_Plugin->m_Version; version != spoken)
    {
        m_Release(&m_Plugin);
        throw Failure(EXIT_PLUGIN, "the plug-in has version " + std::to_string(version) +
                                       " of the interface, this program speaks " +
                                       std::to_string(spoken));
    }
    // Nobody calls back without a worker; a plug-in that does so all the same finds somebody there.
    m_Plugin->m_HostContext = nullptr;
    m_Plugin->m_HostCallback = [](void*, IPLUGINAPI*) {};
}

PluginSession::Instance::~Instance()
{
    m_Release(&m_Plugin);
}

PluginSession::Started::Started(Instance& instance, Troubles& troubles)
    : m_Instance(instance), m_Troubles(troubles)
{
    std::int32_t code = PI::ERR_GENERAL;
    const auto initialize = [&]
    { code = m_Instance->Command(PI::COMMAND_INITIALIZE, 0, &adapters); };
    if (IsTracing())
        initialize();
    else
        WithoutStartLine(initialize);
    if (code == PI::ERR_SUCCESS)
        return;
    // Without its locks a plug-in cannot be stopped either.
    if (code != PI::ERR_LOCK_INITIALIZATION_FAILED)
        m_Instance->Command(PI::COMMAND_DEINITIALIZE, 0, nullptr);
    if (code == PI::ERR_NO_SUPPORTED_HARDWARE)
        FailWithoutHardware();
    throw Failure(EXIT_PLUGIN, "the plug-in could not be started: " + CodeText(code));
}

PluginSession::Started::~Started()
{
    m_Instance->Command(PI::COMMAND_DEINITIALIZE, 0, nullptr);
    try
    {
        m_Troubles.Report(); // the worker wrote rows until now
    }
    catch (const std::exception&)
    {
        // No memory for the lines: they are left out.
    }
}

PluginSession::PluginSession(const std::string& plugin)
    : m_Library(WithMachineOpen(plugin)), m_Instance(m_Library), m_Started(m_Instance, m_Troubles)
{
    ReportTroubles();
}

ExitCode PluginSession::Result()
{
    ReportTroubles();
    return m_Troubles.Has(TroubleKind::Right) ? EXIT_RIGHTS : EXIT_DONE;
}

std::vector<PI::CObject> PluginSession::Topology()
{
    std::vector<PI::CObject> objects;
    const std::int32_t code = m_Instance->Command(PI::COMMAND_GET_TOPOLOGY, 0, &objects);
    if (code != PI::ERR_SUCCESS)
        throw Failure(EXIT_PLUGIN, "the plug-in does not tell its objects: " + CodeText(code));
    FillMemoryReserve(); // a plug-in survives that memory runs out
    return objects;
}

std::int32_t PluginSession::GetProperty(std::uint64_t objectId, PI::CProperty& property)
{
    return m_Instance->Command(PI::COMMAND_GET_PROPERTY, objectId, &property);
}

std::int32_t PluginSession::SetProperty(std::uint64_t objectId, const PI::CProperty& property)
{
    PI::CProperty record = property;
    return m_Instance->Command(PI::COMMAND_SET_PROPERTY, objectId, &record);
}

void PluginSession::StartWorker(void* context, HostCallback callback)
{
    m_Instance->m_HostContext = context;
    m_Instance->m_HostCallback = callback;
    // This host has no other plug-in, so that an adapter keeps its own number.
    std::vector<PI::CAdapterID> adapters = m_Started.adapters;
    for (PI::CAdapterID& adapter : adapters)
        adapter.m_GlobalAdapterID = adapter.m_AdapterNumber;
    const std::int32_t code = m_Instance->Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &adapters);
    if (code != PI::ERR_SUCCESS)
        throw Failure(EXIT_PLUGIN, "the plug-in does not start to watch: " + CodeText(code));
}

std::vector<PI::CEvent> PluginSession::Events(std::uint64_t pluginId)
{
    PI::COperation collect(PI::OP_GET_EVENTS);
    const std::int32_t code =
        m_Instance->Command(PI::COMMAND_EXECUTE_OPERATION, pluginId, &collect);
    if (code != PI::ERR_SUCCESS)
        throw Failure(EXIT_PLUGIN, "the plug-in does not give its events: " + CodeText(code));
    return std::move(collect.m_Events);
}

} // namespace Host
