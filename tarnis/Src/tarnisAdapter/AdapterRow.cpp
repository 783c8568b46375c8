// The adapter's row in the shared database.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/RowOperation.h"
#include "vocabulary/Names.h"

namespace NAMESPACE_tarnis
{
namespace
{

using DatabaseORM::And;
using DatabaseORM::Equal;
using DatabaseORM::SafeModel;
using RaidDataModels::Adapter;

/// A text that is not known leaves the field unset.
void SetUnlessEmpty(std::string& field, const std::string& text)
{
    if (!text.empty())
        field = text;
}

} // namespace

PI::_ERROR_CODE IPLUGINAPI_IMPL::SetDatabaseObjectProperties(Adapter& row,
                                                             const CAHCIAdapter& adapter) const
{
    Trace(TRACE_FLOW, "ENTER SetDatabaseObjectProperties (Adapter) (%d)", adapter.m_AdapterNumber);
    row = Adapter();
    row.objectId = adapter.GetID();
    row.globalAdapterNumber = adapter.m_GlobalAdapterNumber;
    row.hostName = RowHost;
    row.zeroField = 0;
    // What the controllers are called, whatever number the host knows them by.
    row.displayName = "Windows Advanced Host Controller Interface";
    row.vendorName = PluginVendor;
    row.productName = adapter.m_Product;
    row.statusName = valueName(adapter.m_Status);
    row.uniqueId = adapter.m_UniqueID;
    SetUnlessEmpty(row.driverName, adapter.m_DriverName);
    SetUnlessEmpty(row.driverVersion, adapter.m_DriverVersion);
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::InsertObjectToDatabase(const CAHCIAdapter& adapter)
{
    return RunRowOperation(
        m_RowsInStep, [&] { m_Database->insert(SafeModel(RowOf<Adapter>(adapter))); },
        {"Adapter (%s) (%d) inserted to db.",
         "Exception thrown during inserting Adapter (%s) (%d) to db. (%s)"},
        adapter.m_Name, adapter.m_GlobalAdapterNumber);
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::UpdateObjectInDatabase(const CAHCIAdapter& adapter)
{
    bool found = false;
    const PI::_ERROR_CODE result = RunRowOperation(
        m_RowsInStep,
        [&]
        {
            const std::vector<Adapter> rows = m_Database->select<Adapter>(
                And{Equal(&Adapter::globalAdapterNumber, adapter.m_GlobalAdapterNumber),
                    Equal(&Adapter::hostName, RowHost)});
            found = !rows.empty();
            if (!found)
                return;
            auto row = RowOf<Adapter>(adapter);
            row.id = rows.front().id;
            m_Database->update(SafeModel(std::move(row)));
        },
        {nullptr, "Exception thrown during updating Adapter (%s) (%d) entry in db. (%s)"},
        adapter.m_Name, adapter.m_GlobalAdapterNumber);
    if (result != PI::ERR_SUCCESS)
        return result;
    if (!found && m_RowsInStep.catchUp)
        return InsertObjectToDatabase(adapter);
    if (!found)
    {
        m_RowsInStep.behind = true;
        return result;
    }
    Trace(TRACE_DATABASE, "Adapter (%s) (%d) entry updated in db.", adapter.m_Name,
          adapter.m_GlobalAdapterNumber);
    return result;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::DeleteObjectFromDatabase(const CAHCIAdapter&)
{
    // Whichever adapters of this product the host has: it has none now.
    return RunRowOperation(m_RowsInStep,
                           [&]
                           {
                               m_Database->remove<Adapter>(
                                   And{Equal(&Adapter::productName, AdapterProduct),
                                       Equal(&Adapter::hostName, RowHost)});
                           },
                           {"AHCI adapter removed from db.",
                            "Exception thrown during removing AHCI adapter from db. (%s)"});
}

} // namespace NAMESPACE_tarnis
