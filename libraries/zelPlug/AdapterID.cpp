#include "contracts/zelPlug/AdapterID.h"

namespace PI
{

CAdapterID::CAdapterID()
    : m_PciSegment(0), m_PciBus(0), m_PciDevice(0), m_PciFunction(0), m_AdapterNumber(0),
      m_GlobalAdapterID(NoGlobalID)
{
}

CAdapterID::CAdapterID(const CAdapterID&) = default;
CAdapterID& CAdapterID::operator=(const CAdapterID&) = default;
CAdapterID::~CAdapterID() = default;

} // namespace PI
