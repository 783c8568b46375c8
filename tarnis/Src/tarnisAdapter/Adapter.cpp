#include "tarnis/Src/tarnisAdapter/Adapter.h"

#include <boost/format.hpp>

namespace NAMESPACE_tarnis
{

std::string AdapterName(const std::string& product, std::uint32_t number)
{
    return (boost::format("Windows %s (%d)") % product % number).str();
}

} // namespace NAMESPACE_tarnis
