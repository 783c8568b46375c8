#include "tarnis/Src/tarnisAdapter/Adapter.h"

#include "tarnis/Src/tarnis/Text.h"

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

std::string AdapterName(const std::string& product, std::uint32_t number)
{
    return Formatted("Windows %s (%d)", product, number);
}

} // namespace NAMESPACE_tarnis
