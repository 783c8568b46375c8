// The plug-in object: its properties, the one operation, and the setting of the poll interval.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Locks.h"
#include "tarnis/Src/tarnis/PropertyRows.h"
#include "tarnis/Src/tarnis/Settings.h"
#include "tarnis/Src/tarnis/Trace.h"

#include <algorithm>

namespace NAMESPACE_tarnis
{
namespace
{

constexpr std::uint32_t LabelName = 23334;
constexpr std::uint32_t LabelPollInterval = 23335;
constexpr std::uint32_t LabelVendor = 23338;
constexpr std::uint32_t LabelVersion = 23339;

PI::COperation GetEventsOperation()
{
    PI::COperation operation(PI::OP_GET_EVENTS);
    operation.m_AliasID = PI::OP_GET_EVENTS;
    operation.m_Category = 6;
    operation.m_Param1 = operation.m_Param2 = operation.m_Param3 = operation.m_Param4 = 1;
    operation.m_Param5 = 0;
    operation.m_Param6 = 1;
    operation.m_Flag = 0;
    return operation;
}

} // namespace

PI::_ERROR_CODE IPLUGINAPI_IMPL::GetPluginProperties(const CAHCIPlugin&,
                                                     std::vector<PI::CProperty>& properties,
                                                     PI::_PROPERTY_ID filter)
{
    properties.clear();
    const auto append = [&](PI::_PROPERTY_ID id, bool settable, auto fill)
    {
        if (filter != PI::PROP_UNDEFINED && filter != id)
            return;
        PI::CProperty property(id, settable);
        fill(property);
        properties.push_back(std::move(property));
    };
    const auto text = [&](PI::_PROPERTY_ID id, const char* value, std::uint32_t label)
    {
        append(id, false,
               [&](PI::CProperty& property)
               {
                   property.SetValue(value);
                   property.m_TextID = label;
               });
    };

    append(PI::PROP_UNIQUE_ID, false,
           [](PI::CProperty& property)
           {
               property.SetValue("Plugin:ID=" + std::to_string(ModuleNumber));
               property.m_ViewMask = ViewNone;
           });
    text(PI::PROP_NAME, PluginName, LabelName);
    text(PI::PROP_VERSION, PluginVersion, LabelVersion);
    text(PI::PROP_VENDOR, PluginVendor, LabelVendor);
    append(PI::PROP_POLL_INTERVAL, true,
           [this](PI::CProperty& property)
           {
               property.SetValue(static_cast<int>(m_PollInterval.load()),
                                 static_cast<int>(MinimumPollInterval),
                                 static_cast<int>(MaximumPollInterval), 1U);
               property.m_Unit = PI::UNIT_SECONDS;
               property.m_TextID = LabelPollInterval;
           });
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::GetPluginOperations(const CAHCIPlugin&,
                                                     std::vector<PI::COperation>& operations)
{
    operations.clear();
    operations.push_back(GetEventsOperation());
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::ExecutePluginOperation(const CAHCIPlugin& plugin,
                                                        PI::COperation& operation)
{
    Trace(TRACE_FLOW, "ENTER ExecutePluginOperation()");
    const PI::_ERROR_CODE result = operation.m_ID == PI::OP_GET_EVENTS
                                       ? GetEvents(plugin, operation)
                                       : PI::ERR_INVALID_OPERATION;
    UpdateObjectInDatabase(plugin);
    Trace(TRACE_FLOW, "LEAVE ExecutePluginOperation() -> %d", result);
    return result;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::SetPollInterval(CAHCIPlugin& plugin, const PI::CProperty& property)
{
    if (property.m_ID != PI::PROP_POLL_INTERVAL)
        return PI::ERR_INVALID_PROPERTY;
    int value = 0;
    int minimum = 0;
    int maximum = 0;
    unsigned step = 0;
    // A record without a range holds nothing that could be put in force.
    if (const PI::_ERROR_CODE error = property.GetValue(value, minimum, maximum, step);
        error != PI::ERR_SUCCESS)
        return error;

    // The bounds are the record's own; a minimum above the maximum leaves the maximum.
    value = std::min(std::max(value, minimum), maximum);
    const std::string text = std::to_string(value);
    m_PollInterval = static_cast<std::uint32_t>(value);
    ++plugin.m_ChangeCount;
    const PI::_ERROR_CODE result = m_ConfigFile.WriteKeyValue("PollInterval", text, -1, -1);
    if (auto* event = m_PrivateEvent.GetControlBlock())
        event->Set();
    return result;
}

} // namespace NAMESPACE_tarnis
