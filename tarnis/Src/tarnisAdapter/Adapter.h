#pragma once

#include "contracts/zelPlug.h"

#include <cstdint>
#include <string>

namespace NAMESPACE_tarnis
{

inline constexpr const char* AdapterProduct = "Advanced Host Controller Interface";

/// The adapter: one record for all AHCI controllers of the machine. Identified by m_AdapterNumber.
class CAHCIAdapter : public PI::CObject
{
  public:
    std::int32_t m_AdapterNumber = -1;       ///< number inside the plug-in
    std::int32_t m_GlobalAdapterNumber = -1; ///< number among all adapters of all hosts
    std::string m_Product;
    std::string m_Name;
    std::string m_UniqueID;
    std::string m_DriverName;    ///< service name of the storage driver
    std::string m_DriverVersion; ///< empty: not known
    std::uint64_t m_PciSegment = 0;
    std::uint64_t m_PciBus = 0;
    std::uint64_t m_PciDevice = 0;
    std::uint64_t m_PciFunction = 0;
    PI::_VALUE_ID m_Status = PI::VAL_OK; ///< OK or WARNING

    /// Whether nothing changed: the base as CObject compares it, and every field.
    bool operator==(const CAHCIAdapter& other) const;
};

/// Where the adapter stands, as the beginning of unique ids.
std::string PciAddress(const CAHCIAdapter& adapter);

/// Display name of an adapter with the number that the host knows it by, 0 while it has none.
std::string AdapterName(const std::string& product, std::uint32_t number);

} // namespace NAMESPACE_tarnis
