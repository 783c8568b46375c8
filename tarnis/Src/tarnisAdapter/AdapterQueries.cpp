#include "tarnis/Src/tarnisAdapter/AdapterQueries.h"

#include "tarnis/Src/tarnis/PropertyRows.h"
#include "tarnis/Src/tarnis/Trace.h"

namespace NAMESPACE_tarnis
{
namespace
{

constexpr PI::_PROPERTY_DESCRIPTION AdapterRows[] = {
#define PROPERTY_ROW(name, label, viewMask, kind, unit, flag)                                      \
    {PI::PROP_##name, label, 1, 1, viewMask, PI::KIND_##kind, PI::UNIT_##unit, flag},
#include "tarnis/Src/tarnisAdapter/AdapterPropertyRows.inc"
#undef PROPERTY_ROW
};

std::uint32_t StatusIcon(PI::_VALUE_ID status)
{
    switch (status)
    {
    case PI::VAL_FAILED:
        return 24001;
    case PI::VAL_WARNING:
        return 24002;
    default:
        return 24000;
    }
}

void SetAliasedNumber(PI::CProperty& property, std::uint64_t value, PI::_PROPERTY_ID alias)
{
    property.SetValue(value);
    property.m_AliasID = static_cast<std::uint32_t>(alias);
}

bool SetUnlessEmpty(PI::CProperty& property, const std::string& text)
{
    property.SetValue(text);
    return !text.empty();
}

bool SetAdapterValue(const CAHCIAdapter& adapter, const std::vector<int>& statusChoices,
                     PI::CProperty& property)
{
    switch (property.m_ID)
    {
    case PI::PROP_NAME:
        property.SetValue(adapter.m_Name);
        break;
    case PI::PROP_PRODUCT:
        property.SetValue(adapter.m_Product);
        break;
    case PI::PROP_ADAPTER_NUMBER:
        SetAliasedNumber(property,
                         static_cast<std::uint64_t>(std::int64_t{adapter.m_AdapterNumber}),
                         PI::PARAM_ID);
        break;
    case PI::PROP_STATUS:
        property.SetValue(adapter.m_Status, statusChoices);
        property.m_IconID = StatusIcon(adapter.m_Status);
        break;
    case PI::PROP_PCI_SEGMENT:
        SetAliasedNumber(property, adapter.m_PciSegment, PI::PARAM_SEGMENT);
        break;
    case PI::PROP_PCI_BUS:
        SetAliasedNumber(property, adapter.m_PciBus, PI::PARAM_BUS);
        break;
    case PI::PROP_PCI_DEVICE:
        SetAliasedNumber(property, adapter.m_PciDevice, PI::PARAM_DEVICE);
        break;
    case PI::PROP_PCI_FUNCTION:
        SetAliasedNumber(property, adapter.m_PciFunction, PI::PARAM_FUNCTION);
        break;
    case PI::PROP_UNIQUE_ID:
        property.SetValue(adapter.m_UniqueID);
        break;
    case PI::PROP_DRIVER_NAME:
        return SetUnlessEmpty(property, adapter.m_DriverName);
    case PI::PROP_DRIVER_VERSION:
        return SetUnlessEmpty(property, adapter.m_DriverVersion);
    default:
        break;
    }
    return true;
}

} // namespace

PI::_ERROR_CODE GetAdapterProperties(const CAHCIAdapter& adapter,
                                     std::vector<PI::CProperty>& properties,
                                     PI::_PROPERTY_ID filter)
{
    Trace(TRACE_FLOW, "ENTER GetAdapterProperties (%d)", adapter.m_AdapterNumber);
    properties.clear();
    const std::vector<int> statusChoices = {PI::VAL_OK, PI::VAL_WARNING, PI::VAL_FAILED};
    AppendProperties(AdapterRows, filter, properties,
                     [&](PI::CProperty& property)
                     { return SetAdapterValue(adapter, statusChoices, property); });
    Trace(TRACE_FLOW, "LEAVE GetAdapterProperties -> %d", PI::ERR_SUCCESS);
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE GetAdapterOperations(const CAHCIAdapter&, std::vector<PI::COperation>& operations)
{
    operations.clear();
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE CheckAdapterOperation(const CAHCIAdapter&, const PI::COperation& operation)
{
    Trace(TRACE_FLOW, "ENTER CheckAdapterOperation operation=%d", operation.m_ID);
    Trace(TRACE_FLOW, "LEAVE CheckAdapterOperation -> %d", PI::ERR_SUCCESS);
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE ExecuteAdapterOperation(const CAHCIAdapter& adapter,
                                        const PI::COperation& operation)
{
    Trace(TRACE_FLOW, "ENTER ExecuteAdapterOperation (%d) (%d)", operation.m_ID,
          adapter.m_AdapterNumber);
    Trace(TRACE_FLOW, "LEAVE ExecuteAdapterOperation () -> %d", PI::ERR_SUCCESS);
    return PI::ERR_SUCCESS;
}

} // namespace NAMESPACE_tarnis
