#include "tarnis/Src/tarnisAdapter/Adapter.h"

#include "tarnis/Src/tarnis/Text.h"

namespace NAMESPACE_tarnis
{

std::string AdapterName(const std::string& product, std::uint32_t number)
{
    return Formatted("Windows %s (%d)", product, number);
}

} // namespace NAMESPACE_tarnis
