#pragma once

#include "contracts/zelPlug.h"

#include <cstdint>
#include <limits>
#include <string>

namespace NAMESPACE_tarnis
{

/// "No reading" of the numbers for which 0 is a reading.
inline constexpr std::uint32_t NoReading32 = std::numeric_limits<std::uint32_t>::max();
inline constexpr std::uint64_t NoReading64 = std::numeric_limits<std::uint64_t>::max();

/// A drive. Identified by the pair of m_AdapterNumber and m_DeviceNumber: a record goes with the
/// disk number, whichever drive stands behind it.
class CAHCIPhysicalDrive : public PI::CObject
{
  public:
    std::int32_t m_AdapterNumber = -1;
    std::int32_t m_GlobalAdapterNumber = -1;
    std::int32_t m_DeviceNumber = -1; ///< disk number of the operating system
    std::string m_SerialNumber;
    std::string m_FirmwareVersion;
    std::string m_Vendor;
    std::string m_Product;
    std::string m_Name;
    std::string m_UniqueID;
    std::string m_OSDevice;
    PI::_VALUE_ID m_Status = PI::VAL_AVAILABLE;     ///< AVAILABLE, OPERATIONAL or AVAILABLE_SMART
    PI::_VALUE_ID m_MediaType = PI::VAL_HDD;        ///< HDD or SSD
    std::uint64_t m_SizeMB = NoReading64;           ///< units of 1048576 bytes, rounded down
    std::uint8_t m_Temperature = 0;                 ///< degrees Celsius, 0: no reading
    std::uint64_t m_PowerOnHours = 0;               ///< 0: no reading
    std::uint64_t m_BytesWritten = 0;               ///< 0: no reading
    std::uint32_t m_RemainingReserve = NoReading32; ///< percent
    std::uint32_t m_RatedEndurancePercent = NoReading32; ///< percent used up
    std::uint64_t m_RemainingLifeTimeHours = NoReading64;

    /// Whether nothing changed: the base as CObject compares it, and every field.
    bool operator==(const CAHCIPhysicalDrive& other) const;
};

} // namespace NAMESPACE_tarnis
