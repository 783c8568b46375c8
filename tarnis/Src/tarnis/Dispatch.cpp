// Commands 5 to 10: find the object, pass the question on.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Locks.h"
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisAdapter/AdapterQueries.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDriveQueries.h"

#include <algorithm>

namespace NAMESPACE_tarnis
{
namespace
{

template <class Record>
const Record* FindById(const std::vector<Record>& records, std::uint64_t objectId)
{
    const auto found =
        std::find_if(records.begin(), records.end(),
                     [objectId](const Record& record) { return record.m_ID == objectId; });
    return found == records.end() ? nullptr : &*found;
}

} // namespace

const CAHCIAdapter* IPLUGINAPI_IMPL::FindAdapter(std::uint64_t objectId) const
{
    return FindById(m_Adapters, objectId);
}

const CAHCIPhysicalDrive* IPLUGINAPI_IMPL::FindPhysicalDrive(std::uint64_t objectId) const
{
    return FindById(m_PhysicalDrives, objectId);
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::QueryProperties(const char* command, std::uint64_t objectId,
                                                 std::vector<PI::CProperty>& properties,
                                                 PI::_PROPERTY_ID filter,
                                                 const SourceLocation& where)
{
    if (m_Plugin.m_ID == objectId)
        return GetPluginProperties(m_Plugin, properties, filter);

    Trace(TRACE_DETAIL, {"%s() Adapter = %d", where}, command, m_Adapters.size());
    if (const CAHCIAdapter* adapter = FindAdapter(objectId))
        return GetAdapterProperties(*adapter, properties, filter);

    Trace(TRACE_DETAIL, {"%s() PhysicalDrives = %d", where}, command, m_PhysicalDrives.size());
    if (const CAHCIPhysicalDrive* drive = FindPhysicalDrive(objectId))
        return GetPhysicalDriveProperties(*drive, properties, filter);

    return PI::ERR_INVALID_OBJECT_ID;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::GetProperties(std::uint64_t objectId,
                                               std::vector<PI::CProperty>& properties)
{
    const DataGuard guard(m_DataLock);
    return QueryProperties("GetProperties", objectId, properties, PI::PROP_UNDEFINED,
                           SourceLocation::current());
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::GetProperty(std::uint64_t objectId, PI::CProperty& property)
{
    std::vector<PI::CProperty> properties;
    const DataGuard guard(m_DataLock);
    const PI::_ERROR_CODE result = QueryProperties("GetProperty", objectId, properties,
                                                   property.m_ID, SourceLocation::current());
    if (result != PI::ERR_SUCCESS)
        return result;
    if (properties.empty())
        return PI::ERR_GENERAL;
    property = properties.front();
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::SetProperty(std::uint64_t objectId, const PI::CProperty& property)
{
    const DataGuard guard(m_DataLock);
    if (m_Plugin.m_ID == objectId)
        return SetPollInterval(m_Plugin, property);
    if (FindAdapter(objectId) != nullptr || FindPhysicalDrive(objectId) != nullptr)
        return PI::ERR_INVALID_PROPERTY;
    return PI::ERR_INVALID_OBJECT_ID;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::GetOperations(std::uint64_t objectId,
                                               std::vector<PI::COperation>& operations)
{
    Trace(TRACE_PROGRESS, "ENTER GetOperations object=0x%x", objectId);
    const DataGuard guard(m_DataLock);
    if (m_Plugin.m_ID == objectId)
        return GetPluginOperations(m_Plugin, operations);
    if (const CAHCIAdapter* adapter = FindAdapter(objectId))
        return GetAdapterOperations(*adapter, operations);
    if (const CAHCIPhysicalDrive* drive = FindPhysicalDrive(objectId))
        return GetPhysicalDriveOperations(*drive, operations);
    return PI::ERR_INVALID_OBJECT_ID;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::CheckOperation(std::uint64_t objectId,
                                                const PI::COperation& operation)
{
    Trace(TRACE_LOCK, "ENTER CheckOperation operation=%d", operation.m_ID);
    const DataGuard guard(m_DataLock);
    PI::_ERROR_CODE result = PI::ERR_INVALID_OBJECT_ID;
    if (m_Plugin.m_ID == objectId)
        result = PI::ERR_SUCCESS;
    else if (const CAHCIAdapter* adapter = FindAdapter(objectId))
        result = CheckAdapterOperation(*adapter, operation);
    else if (const CAHCIPhysicalDrive* drive = FindPhysicalDrive(objectId))
        result = CheckPhysicalDriveOperation(*drive, operation);
    Trace(TRACE_LOCK, "LEAVE CheckOperation(%d)", result);
    return result;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::ExecuteOperation(std::uint64_t objectId, PI::COperation& operation)
{
    const DataGuard guard(m_DataLock);
    if (m_Plugin.m_ID == objectId)
        return ExecutePluginOperation(m_Plugin, operation);
    if (const CAHCIAdapter* adapter = FindAdapter(objectId))
        return ExecuteAdapterOperation(*adapter, operation);
    if (const CAHCIPhysicalDrive* drive = FindPhysicalDrive(objectId))
        return ExecutePhysicalDriveOperation(*drive, operation);
    return PI::ERR_INVALID_OBJECT_ID;
}

} // namespace NAMESPACE_tarnis
