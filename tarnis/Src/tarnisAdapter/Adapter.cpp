#include "tarnis/Src/tarnisAdapter/Adapter.h"

#include <tuple>

namespace NAMESPACE_tarnis
{

namespace
{

auto Fields(const CAHCIAdapter& adapter)
{
    return std::tie(adapter.m_AdapterNumber, adapter.m_GlobalAdapterNumber, adapter.m_Product,
                    adapter.m_Name, adapter.m_UniqueID, adapter.m_DriverName,
                    adapter.m_DriverVersion, adapter.m_PciSegment, adapter.m_PciBus,
                    adapter.m_PciDevice, adapter.m_PciFunction, adapter.m_Status);
}

} // namespace

bool CAHCIAdapter::operator==(const CAHCIAdapter& other) const
{
    return CObject::operator==(other) && Fields(*this) == Fields(other);
}

std::string PciAddress(const CAHCIAdapter& adapter)
{
    return "PCI:Bus=" + std::to_string(adapter.m_PciBus) +
           "&Device=" + std::to_string(adapter.m_PciDevice) +
           "&Function=" + std::to_string(adapter.m_PciFunction);
}

std::string AdapterName(const std::string& product, std::uint32_t number)
{
    return "Windows " + product + " (" + std::to_string(number) + ")";
}

} // namespace NAMESPACE_tarnis
