// The plug-in's own row in the shared database.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/RowOperation.h"
#include "tarnis/Src/tarnis/Settings.h"

namespace NAMESPACE_tarnis
{
namespace
{

using RaidDataModels::Plugin;

// Stands between double quotes in a statement, so that its own are doubled.
constexpr const char* settableProperties =
    R"({""settableProperties"":[{""name"":""pollinterval"",""formatStr"":""<int32>[2..255, 1]""}]})";
static_assert(std::char_traits<char>::length(settableProperties) == 91);

auto IsPluginRow()
{
    return DatabaseORM::Equal(&Plugin::pluginName, PluginName);
}

} // namespace

PI::_ERROR_CODE IPLUGINAPI_IMPL::SetDatabaseObjectProperties(Plugin& row,
                                                             const CAHCIPlugin& plugin) const
{
    row = Plugin();
    row.objectId = plugin.GetID();
    row.uniqueId = "Plugin:ID=" + std::to_string(ModuleNumber);
    row.pluginName = PluginName;
    row.version = PluginVersion;
    row.vendorName = PluginVendor;
    row.pollInterval = static_cast<std::int32_t>(m_PollInterval.load());
    row.settableProperties = settableProperties;
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::InsertObjectToDatabase(const CAHCIPlugin& plugin)
{
    RunRowOperation(m_RowsInStep, [&] { m_Database->insert(RowOf<Plugin>(plugin)); },
                    {"Plugin AHCI inserted to db.",
                     "Storage query exception thrown during inserting AHCI plugin to db. (%s)"});
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::UpdateObjectInDatabase(const CAHCIPlugin& plugin)
{
    bool found = false;
    const PI::_ERROR_CODE result = RunRowOperation(
        m_RowsInStep,
        [&]
        {
            auto row = RowOf<Plugin>(plugin);
            const std::vector<Plugin> rows = m_Database->select<Plugin>(IsPluginRow());
            found = !rows.empty();
            if (!found)
                return;
            row.id = rows.front().id;
            m_Database->update(row);
        },
        {nullptr, "Exception thrown during updating AHCI plugin object in db. (%s)"});
    if (result != PI::ERR_SUCCESS)
        return PI::ERR_SUCCESS;
    if (found)
        Trace(TRACE_DATABASE, "Plugin AHCI updated in db.");
    else if (m_RowsInStep.catchUp)
        InsertObjectToDatabase(plugin);
    else
        m_RowsInStep.behind = true;
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::DeleteObjectFromDatabase(const CAHCIPlugin&)
{
    RunRowOperation(m_RowsInStep, [&] { m_Database->remove<Plugin>(IsPluginRow()); },
                    {"Plugin AHCI removed from db.",
                     "Exception thrown during removing AHCI plugin object from db. (%s)"});
    return PI::ERR_SUCCESS;
}

} // namespace NAMESPACE_tarnis
