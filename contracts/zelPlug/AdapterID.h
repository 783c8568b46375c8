#pragma once

#include "contracts/Export.h"

#include <cstdint>

namespace PI
{

/// Where an adapter sits and which number the host gives it. The plug-in fills all but the last
/// field in command 1; the host writes the last and sends the list back with command 2.
class ZELPLUG_API CAdapterID
{
  public:
    static constexpr std::uint32_t NoGlobalID = 0xFFFFFFFF;

    CAdapterID();
    CAdapterID(const CAdapterID&);
    CAdapterID& operator=(const CAdapterID&);
    virtual ~CAdapterID();

    std::uint32_t m_PciSegment;
    std::uint32_t m_PciBus;
    std::uint32_t m_PciDevice;
    std::uint32_t m_PciFunction;
    std::uint32_t m_AdapterNumber;   ///< number of the adapter inside the plug-in
    std::uint32_t m_GlobalAdapterID; ///< number given by the host, NoGlobalID for none
};

} // namespace PI
