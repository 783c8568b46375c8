#include "tests/support/PluginTest.h"

#include "host/System.h"
#include "libraries/zelKit/Clock.h"
#include "platform/Machine.h"

#include <atomic>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace Support
{
namespace
{

constexpr std::uint64_t ClockStart = 1770000000000; // early in 2026

std::atomic<std::uint64_t> testClock;

std::uint64_t TestClock()
{
    return testClock;
}

template <class Function> Function Symbol(void* library, const char* name)
{
    std::string reason;
    void* symbol = Host::FindSymbol(library, name, reason);
    if (symbol == nullptr)
        throw std::runtime_error(reason);
    return reinterpret_cast<Function>(symbol);
}

} // namespace

LoadedPlugin::LoadedPlugin()
{
    std::string reason;
    m_Library = Host::OpenLibrary(TARNIS_BIN_DIR + std::string("/") + Host::pluginFileName, reason);
    if (m_Library == nullptr)
        throw std::runtime_error(reason);
    m_CreateIf = Symbol<CreateIfFunction>(m_Library, "createIf");
    m_ReleaseIf = Symbol<ReleaseIfFunction>(m_Library, "releaseIf");
    if (m_CreateIf(&m_Interface) != PI::ERR_SUCCESS)
        throw std::runtime_error("createIf failed");
}

LoadedPlugin::~LoadedPlugin()
{
    m_ReleaseIf(&m_Interface);
    Host::CloseLibrary(m_Library);
}

void LoadedPlugin::Renew()
{
    m_ReleaseIf(&m_Interface);
    m_CreateIf(&m_Interface);
    adapterIDs.clear();
}

std::int32_t LoadedPlugin::Initialize()
{
    testing::internal::CaptureStdout();
    const std::int32_t result = Command(PI::COMMAND_INITIALIZE, 0, &adapterIDs);
    initializeOutput = testing::internal::GetCapturedStdout();
    return result;
}

std::vector<PI::CObject> LoadedPlugin::Topology()
{
    std::vector<PI::CObject> objects;
    EXPECT_EQ(Command(PI::COMMAND_GET_TOPOLOGY, 0, &objects), PI::ERR_SUCCESS);
    return objects;
}

unsigned Amount(const char* variable, unsigned preset)
{
    const char* text = std::getenv(variable);
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : preset;
}

const PI::CProperty* Find(const PI::CObject& object, PI::_PROPERTY_ID id)
{
    for (const PI::CProperty& property : object.m_Properties)
        if (property.m_ID == id)
            return &property;
    return nullptr;
}

std::string ValueText(const PI::CProperty& property)
{
    std::ostringstream out;
    std::string text;
    std::uint64_t number = 0;
    float real = 0;
    int value = 0, minimum = 0, maximum = 0;
    unsigned step = 0;
    std::vector<int> choices;
    if (property.GetValue(text) == PI::ERR_SUCCESS)
        out << "text:" << text;
    else if (property.GetValue(number) == PI::ERR_SUCCESS)
        out << "number:" << number;
    else if (property.GetValue(real) == PI::ERR_SUCCESS)
        out << "real:" << real;
    else if (property.GetValue(value, choices) == PI::ERR_SUCCESS)
    {
        out << "choice:" << value << " of";
        for (const int choice : choices)
            out << ' ' << choice;
    }
    else if (property.GetValue(value, minimum, maximum, step) == PI::ERR_SUCCESS)
        out << "range:" << value << " in " << minimum << ".." << maximum << " by " << step;
    else
        out << "none";
    return out.str();
}

std::string ValueText(const PI::CObject& object, PI::_PROPERTY_ID id)
{
    const PI::CProperty* property = Find(object, id);
    return property ? ValueText(*property) : "absent";
}

std::string PictureText(const std::vector<PI::CObject>& objects)
{
    std::ostringstream out;
    for (const PI::CObject& object : objects)
    {
        out << std::hex << object.m_ID << std::dec << " type " << object.m_Type << " count "
            << object.m_ChangeCount << " parents";
        for (const std::uint64_t id : object.m_Parents)
            out << ' ' << std::hex << id << std::dec;
        out << " children";
        for (const std::uint64_t id : object.m_Children)
            out << ' ' << std::hex << id << std::dec;
        out << " operations " << object.m_Operations.size() << '\n';
        for (const PI::CProperty& property : object.m_Properties)
            out << "  " << property.m_ID << ' ' << ValueText(property) << " mask "
                << property.m_ViewMask << '\n';
    }
    return out.str();
}

PluginTest::PluginTest()
{
    setenv("TARNIS_CONFIG_DIR", m_Folder.Path().c_str(), 1);
    setenv("TARNIS_DATABASE", m_Folder.File("rows.db").c_str(), 1);
    unsetenv("TARNIS_MACHINE");
    testClock = ClockStart;
    ZKT::Internals::SetClock(&TestClock);
}

PluginTest::~PluginTest()
{
    ZKT::Internals::SetClock(nullptr);
    unsetenv("TARNIS_MACHINE");
    unsetenv("TARNIS_DATABASE");
    Platform::SetCurrentMachine(nullptr);
}

Platform::SimulatedMachine& PluginTest::UseMachine(const nlohmann::json& machine)
{
    std::string message;
    if (m_Machine ? !m_Machine->Replace(machine.dump(), message)
                  : !(m_Machine = Platform::SimulatedMachine::FromText(machine.dump(),
                                                                       m_Folder.Path(), message)))
        throw std::runtime_error(message);
    Platform::SetCurrentMachine(m_Machine);
    return *m_Machine;
}

void PluginTest::AdvanceClock(std::int64_t milliseconds)
{
    testClock += static_cast<std::uint64_t>(milliseconds);
}

void PluginTest::SetClock(std::uint64_t milliseconds)
{
    testClock = milliseconds;
}

} // namespace Support
