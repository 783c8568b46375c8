#include "tarnis/Src/tarnis/Instance.h"

#include <new>

namespace NAMESPACE_tarnis
{
namespace
{

/// Runs a handler. No exception crosses the boundary to the host; exhausted memory is the only one
/// that a handler can meet.
template <class Handler> PI::_ERROR_CODE Guarded(Handler handler)
{
    try
    {
        return handler();
    }
    catch (const std::bad_alloc&)
    {
        return PI::ERR_MEMORY_ERROR;
    }
    catch (...)
    {
        return PI::ERR_GENERAL;
    }
}

template <class Record, class Handler> PI::_ERROR_CODE WithRecord(void* record, Handler handler)
{
    if (record == nullptr)
        return PI::ERR_INVALID_PARAMETER;
    return Guarded([&] { return handler(*static_cast<Record*>(record)); });
}

/// As WithRecord, for a vector that the handler fills: a failed command leaves it empty, whatever
/// it held before, with its capacity.
template <class Element, class Handler> PI::_ERROR_CODE WithOutput(void* record, Handler handler)
{
    const PI::_ERROR_CODE result = WithRecord<std::vector<Element>>(record, handler);
    if (result != PI::ERR_SUCCESS && record != nullptr)
        static_cast<std::vector<Element>*>(record)->clear();
    return result;
}

} // namespace

std::int32_t IPLUGINAPI_IMPL::Command(std::int32_t command, std::uint64_t objectId, void* record)
{
    switch (command)
    {
    case PI::COMMAND_INITIALIZE:
        return WithOutput<PI::CAdapterID>(record, [&](auto& ids) { return Initialize(ids); });
    case PI::COMMAND_SET_ADAPTER_IDS:
        return WithRecord<std::vector<PI::CAdapterID>>(record, [&](auto& ids)
                                                       { return SetAdapterIDs(ids); });
    case PI::COMMAND_DEINITIALIZE:
        return Guarded([&] { return DeInitialize(); });
    case PI::COMMAND_GET_TOPOLOGY:
        return WithOutput<PI::CObject>(record, [&](auto& objects) { return GetTopology(objects); });
    case PI::COMMAND_GET_PROPERTIES:
        return WithOutput<PI::CProperty>(record, [&](auto& properties)
                                         { return GetProperties(objectId, properties); });
    case PI::COMMAND_GET_PROPERTY:
        return WithRecord<PI::CProperty>(record, [&](auto& property)
                                         { return GetProperty(objectId, property); });
    case PI::COMMAND_SET_PROPERTY:
        return WithRecord<PI::CProperty>(record, [&](auto& property)
                                         { return SetProperty(objectId, property); });
    case PI::COMMAND_GET_OPERATIONS:
        return WithOutput<PI::COperation>(record, [&](auto& operations)
                                          { return GetOperations(objectId, operations); });
    case PI::COMMAND_CHECK_OPERATION:
        return WithRecord<PI::COperation>(record, [&](auto& operation)
                                          { return CheckOperation(objectId, operation); });
    case PI::COMMAND_EXECUTE_OPERATION:
        return WithRecord<PI::COperation>(record, [&](auto& operation)
                                          { return ExecuteOperation(objectId, operation); });
    default:
        return PI::ERR_INVALID_COMMAND;
    }
}

} // namespace NAMESPACE_tarnis
