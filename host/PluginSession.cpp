#include "host/PluginSession.h"

#include "contracts/zelKitEx/System.h"
#include "host/Failure.h"
#include "host/MemoryReserve.h"
#include "host/Names.h"
#include "host/Output.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <dlfcn.h>

namespace
{

constexpr const char* libraryName = "tarnis.so";

std::string LibraryPath(const std::string& plugin)
{
    if (!plugin.empty()) // a plain name means a file here, not one that the loader looks for
        return plugin.find('/') == std::string::npos ? "./" + plugin : plugin;
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error)
    {
        const auto beside = program.parent_path() / libraryName;
        if (std::filesystem::exists(beside, error))
            return beside.string();
    }
    return libraryName;
}

[[noreturn]] void FailLoading()
{
    const char* reason = ::dlerror();
    throw Host::Failure(Host::EXIT_PLUGIN, std::string("the plug-in could not be loaded: ") +
                                               (reason != nullptr ? reason : "unknown reason"));
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
    const char* machine = std::getenv("TARNIS_MACHINE");
    const bool isThisComputer = machine == nullptr || *machine == '\0';
    throw Host::Failure(
        Host::EXIT_NO_HARDWARE,
        "no supported AHCI controller was found: " + Host::CodeText(PI::ERR_NO_SUPPORTED_HARDWARE) +
            (isThisComputer ? " on this computer; --machine FILE shows a machine file in its place"
                            : std::string(" in the machine file ") + machine));
}

} // namespace

namespace Host
{

PluginSession::Library::Library(const std::string& plugin)
    : m_Handle(::dlopen(LibraryPath(plugin).c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (m_Handle == nullptr)
        FailLoading();
}

PluginSession::Library::~Library()
{
    ::dlclose(m_Handle);
}

void* PluginSession::Library::Symbol(const char* name) const
{
    void* symbol = ::dlsym(m_Handle, name);
    if (symbol == nullptr)
        FailLoading();
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

PluginSession::Started::Started(Instance& instance) : m_Instance(instance)
{
    const std::int32_t code = m_Instance->Command(PI::COMMAND_INITIALIZE, 0, &adapters);
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
}

PluginSession::PluginSession(const std::string& plugin)
    : m_Library(WithMachineOpen(plugin)), m_Instance(m_Library), m_Started(m_Instance)
{
    Result();
}

ExitCode PluginSession::Result()
{
    std::string line;
    const bool isMissing = ZKTX::CSystem::IsRightMissing(line);
    if (isMissing && line != m_MissingRight)
        Complain(line);
    m_MissingRight = line;
    return isMissing ? EXIT_RIGHTS : EXIT_DONE;
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
