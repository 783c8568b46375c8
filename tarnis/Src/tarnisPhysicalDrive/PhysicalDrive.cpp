#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrive.h"

#include <tuple>

namespace NAMESPACE_tarnis
{
namespace
{

auto Fields(const CAHCIPhysicalDrive& drive)
{
    return std::tie(drive.m_AdapterNumber, drive.m_GlobalAdapterNumber, drive.m_DeviceNumber,
                    drive.m_SerialNumber, drive.m_FirmwareVersion, drive.m_Vendor, drive.m_Product,
                    drive.m_Name, drive.m_UniqueID, drive.m_OSDevice, drive.m_SizeMB,
                    drive.m_Status, drive.m_MediaType, drive.m_Temperature, drive.m_PowerOnHours,
                    drive.m_BytesWritten, drive.m_RemainingReserve, drive.m_RatedEndurancePercent,
                    drive.m_RemainingLifeTimeHours);
}

} // namespace

bool CAHCIPhysicalDrive::operator==(const CAHCIPhysicalDrive& other) const
{
    return CObject::operator==(other) && Fields(*this) == Fields(other);
}

} // namespace NAMESPACE_tarnis
