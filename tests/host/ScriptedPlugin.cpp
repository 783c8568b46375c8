// A plug-in for tests of the host. The environment tells it what to do:
//   SCRIPT_LOG      file that takes a word for each call
//   SCRIPT_INIT     result of command 1
//   SCRIPT_VERSION  version of the interface object
//   SCRIPT_NAME     product of disk 7
#include "contracts/PluginInterface.h"
#include "contracts/zelPlug.h"

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace
{

constexpr std::uint64_t pluginId = 0x0131000000000000;
constexpr std::uint32_t all = 0xFFFFFFFF;

void Log(const std::string& word)
{
    const char* path = std::getenv("SCRIPT_LOG");
    if (std::FILE* file = path == nullptr ? nullptr : std::fopen(path, "a"))
    {
        std::fprintf(file, "%s ", word.c_str());
        std::fclose(file);
    }
}

int Setting(const char* name, int otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::atoi(text);
}

struct Object : PI::CObject
{
    Object(std::uint64_t id, PI::_OBJECT_TYPE type)
    {
        m_ID = id;
        m_Type = type;
    }

    template <class... Values>
    void Add(PI::_PROPERTY_ID id, PI::_UNITS unit, std::uint32_t mask, const Values&... values)
    {
        PI::CProperty property(id, false);
        property.SetValue(values...);
        property.m_Unit = unit;
        property.m_ViewMask = mask;
        m_Properties.push_back(property);
    }
};

Object Drive(std::uint64_t number, const std::string& product, int status)
{
    const bool worn = status == PI::VAL_AVAILABLE_SMART;
    const std::uint32_t wearMask = worn ? all : 0;
    Object drive(pluginId + 2 + number, PI::OBJECT_PHYSICAL_DRIVE);
    drive.m_Parents = {pluginId + 1};
    drive.Add(PI::PROP_NAME, PI::UNIT_NONE, all, product + " (" + std::to_string(number) + ")");
    drive.Add(PI::PROP_PRODUCT, PI::UNIT_NONE, all, product);
    drive.Add(PI::PROP_DEVICE_NUMBER, PI::UNIT_NONE, all, number);
    drive.Add(PI::PROP_UNIQUE_ID, PI::UNIT_NONE, 0, "ID=" + std::to_string(number));
    drive.Add(PI::PROP_SERIAL_NUMBER, PI::UNIT_NONE, all, "S-" + std::to_string(number));
    drive.Add(PI::PROP_PHYSICAL_SIZE, PI::UNIT_MEGABYTES, all,
              worn ? std::uint64_t{953869} : std::numeric_limits<std::uint64_t>::max());
    drive.Add(PI::PROP_STATUS, PI::UNIT_NONE, all, status, std::vector<int>{40099, 40180, 40095});
    if (worn)
        drive.Add(PI::PROP_TEMPERATURE, PI::UNIT_DEGREES_CELSIUS, all, 23.1F);
    drive.Add(PI::PROP_RATED_ENDURANCE_PERCENT, PI::UNIT_PERCENT, wearMask, 97, 0, 100, 1U);
    drive.Add(PI::PROP_POWERON_HOURS, PI::UNIT_HOURS, wearMask, std::uint64_t{worn ? 8000U : 0U});
    drive.m_Properties.emplace_back(PI::PROP_LUN, false);
    return drive;
}

struct Plugin : IPLUGINAPI
{
    Plugin() { m_Version = static_cast<std::uint32_t>(Setting("SCRIPT_VERSION", 2)); }

    std::int32_t Command(std::int32_t command, std::uint64_t, void* record) override
    {
        Log(std::to_string(command));
        if (command == PI::COMMAND_INITIALIZE)
        {
            std::printf("scripted:  Initialize\n");
            return Setting("SCRIPT_INIT", PI::ERR_SUCCESS);
        }
        if (command == PI::COMMAND_GET_PROPERTY)
            return PI::ERR_PHYSICALDRIVE_BUSY;
        if (command != PI::COMMAND_GET_TOPOLOGY)
            return PI::ERR_SUCCESS;
        const char* name = std::getenv("SCRIPT_NAME");
        Object plugin(pluginId, PI::OBJECT_PLUGIN);
        plugin.m_Children = {pluginId + 1, pluginId}; // a ring, and a drive that hangs nowhere
        Object adapter(pluginId + 1, PI::OBJECT_ADAPTER);
        adapter.m_Children = {pluginId + 2 + 7};
        adapter.Add(PI::PROP_STATUS, PI::UNIT_NONE, all, int{PI::VAL_WARNING}, std::vector<int>{});
        *static_cast<std::vector<PI::CObject>*>(record) = {
            plugin, adapter, Drive(7, name == nullptr ? "GOOD" : name, PI::VAL_AVAILABLE),
            Drive(8, "WORN", PI::VAL_AVAILABLE_SMART), Drive(9, "DEAD", PI::VAL_FAILED)};
        return PI::ERR_SUCCESS;
    }
};

} // namespace

extern "C" TARNIS_EXPORT std::int32_t createIf(IPLUGINAPI** plugin)
{
    Log("create");
    *plugin = new Plugin;
    return PI::ERR_SUCCESS;
}

extern "C" TARNIS_EXPORT void releaseIf(IPLUGINAPI** plugin)
{
    Log("release");
    delete *plugin;
    *plugin = nullptr;
}
