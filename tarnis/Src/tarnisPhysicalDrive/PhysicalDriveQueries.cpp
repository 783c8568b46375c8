#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDriveQueries.h"

#include "tarnis/Src/tarnis/PropertyRows.h"
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisPhysicalDrive/EndOfLife.h"

namespace NAMESPACE_tarnis
{
namespace
{

constexpr PI::_PROPERTY_DESCRIPTION PhysicalDriveRows[] = {
#define PROPERTY_ROW(name, label, viewMask, kind, unit, flag)                                      \
    {PI::PROP_##name, label, 1, 1, viewMask, PI::KIND_##kind, PI::UNIT_##unit, flag},
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrivePropertyRows.inc"
#undef PROPERTY_ROW
};

struct Choices
{
    std::vector<int> status{PI::VAL_AVAILABLE, PI::VAL_AVAILABLE_SMART, PI::VAL_FAILED};
    std::vector<int> media{PI::VAL_HDD, PI::VAL_SSD};
    std::vector<int> type{PI::VAL_SATA};
};

std::uint32_t StatusIcon(PI::_VALUE_ID status, PI::_VALUE_ID media)
{
    const bool ssd = media == PI::VAL_SSD;
    switch (status)
    {
    case PI::VAL_OPERATIONAL:
        return ssd ? 24201 : 24093;
    case PI::VAL_FAILED:
        return ssd ? 24177 : 24074;
    case PI::VAL_AVAILABLE_SMART:
        return ssd ? 24189 : 24115;
    default:
        return ssd ? 24183 : 24081;
    }
}

bool SetTemperature(PI::CProperty& property, std::uint8_t degrees)
{
    if (degrees == 0)
        return false;
    property.SetValue(static_cast<float>(degrees));
    property.m_ValueFormat = RealFormat;
    return true;
}

void SetPercentage(PI::CProperty& property, std::uint32_t percent)
{
    const bool known = percent != NoReading32;
    property.SetValue(known ? static_cast<int>(percent) : 0, 0, 100, 1);
    if (!known)
        property.m_ViewMask = ViewNone;
}

void SetBytesWritten(PI::CProperty& property, std::uint64_t bytes)
{
    float value = 0.0F;
    PI::_UNITS unit = PI::UNIT_NONE;
    const bool known = PI::CPluginHelper::ConvertBytesToOtherUnit(bytes, value, unit);
    property.SetValue(value);
    if (known)
    {
        property.m_Unit = unit;
        property.m_ValueFormat = RealFormat;
    }
    else
        property.m_ViewMask = ViewNone;
}

void SetHours(PI::CProperty& property, std::uint64_t hours)
{
    property.SetValue(hours);
    if (hours == 0)
        property.m_ViewMask = ViewNone;
}

void SetEndOfLife(PI::CProperty& property, std::uint64_t remainingHours)
{
    if (remainingHours != NoReading64)
    {
        property.SetValue(EndOfLifeDate(remainingHours));
        return;
    }
    property.SetValue("");
    property.m_ViewMask = ViewNone;
}

bool SetPhysicalDriveValue(const CAHCIPhysicalDrive& drive, const Choices& choices,
                           PI::CProperty& property)
{
    switch (property.m_ID)
    {
    case PI::PROP_NAME:
        property.SetValue(drive.m_Name);
        break;
    case PI::PROP_PORT_NUMBER:
        property.SetValue(std::uint64_t{0});
        break;
    case PI::PROP_DEVICE_NUMBER:
        property.SetValue(static_cast<std::uint64_t>(std::int64_t{drive.m_DeviceNumber}));
        break;
    case PI::PROP_UNIQUE_ID:
        property.SetValue(drive.m_UniqueID);
        break;
    case PI::PROP_VENDOR:
        property.SetValue(drive.m_Vendor);
        break;
    case PI::PROP_PRODUCT:
        property.SetValue(drive.m_Product);
        break;
    case PI::PROP_TYPE:
        property.SetValue(PI::VAL_SATA, choices.type);
        break;
    case PI::PROP_FIRMWARE_VERSION:
        property.SetValue(drive.m_FirmwareVersion);
        break;
    case PI::PROP_SERIAL_NUMBER:
        property.SetValue(drive.m_SerialNumber);
        break;
    case PI::PROP_PHYSICAL_SIZE:
    case PI::PROP_CONFIGURABLE_SIZE:
        property.SetValue(drive.m_SizeMB);
        break;
    case PI::PROP_STATUS:
        property.SetValue(drive.m_Status, choices.status);
        property.m_IconID = StatusIcon(drive.m_Status, drive.m_MediaType);
        break;
    case PI::PROP_OS_DEVICE:
        property.SetValue(drive.m_OSDevice);
        break;
    case PI::PROP_TEMPERATURE:
        return SetTemperature(property, drive.m_Temperature);
    case PI::PROP_REMAINING_RESERVE_SPACE:
        SetPercentage(property, drive.m_RemainingReserve);
        break;
    case PI::PROP_RATED_ENDURANCE_PERCENT:
        SetPercentage(property, drive.m_RatedEndurancePercent);
        break;
    case PI::PROP_BYTES_WRITTEN:
        SetBytesWritten(property, drive.m_BytesWritten);
        break;
    case PI::PROP_POWERON_HOURS:
        SetHours(property, drive.m_PowerOnHours);
        break;
    case PI::PROP_ESTIMATED_LIFETIME:
        SetEndOfLife(property, drive.m_RemainingLifeTimeHours);
        break;
    case PI::PROP_MEDIA_TYPE:
        property.SetValue(drive.m_MediaType, choices.media);
        break;
    default:
        break;
    }
    return true;
}

} // namespace

PI::_ERROR_CODE GetPhysicalDriveProperties(const CAHCIPhysicalDrive& drive,
                                           std::vector<PI::CProperty>& properties,
                                           PI::_PROPERTY_ID filter)
{
    properties.clear();
    Trace(TRACE_FLOW, "ENTER GetPhysicalDriveProperties ()");
    const Choices choices;
    AppendProperties(PhysicalDriveRows, filter, properties,
                     [&](PI::CProperty& property)
                     { return SetPhysicalDriveValue(drive, choices, property); });
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE GetPhysicalDriveOperations(const CAHCIPhysicalDrive&,
                                           std::vector<PI::COperation>& operations)
{
    operations.clear();
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE CheckPhysicalDriveOperation(const CAHCIPhysicalDrive& drive,
                                            const PI::COperation& operation)
{
    Trace(TRACE_FLOW, "ENTER CheckPhysicalDriveOperation()");
    const bool refused =
        operation.m_ID == PI::OP_FORMAT_DEVICE && drive.m_Status != PI::VAL_AVAILABLE;
    const PI::_ERROR_CODE result = refused ? PI::ERR_PHYSICALDRIVE_NOT_AVAILABLE : PI::ERR_SUCCESS;
    Trace(TRACE_FLOW, "LEAVE CheckPhysicalDriveOperation() -> %d", result);
    return result;
}

PI::_ERROR_CODE ExecutePhysicalDriveOperation(const CAHCIPhysicalDrive&, const PI::COperation&)
{
    Trace(TRACE_FLOW, "ENTER ExecutePhysicalDriveOperation()");
    Trace(TRACE_FLOW, "LEAVE ExecutePhysicalDriveOperation() -> %d", PI::ERR_INVALID_OPERATION);
    return PI::ERR_INVALID_OPERATION;
}

} // namespace NAMESPACE_tarnis
