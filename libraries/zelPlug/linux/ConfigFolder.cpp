#include "libraries/zelPlug/ConfigFolder.h"

#include "contracts/zelKit/Environment.h"

#include <boost/filesystem/operations.hpp>

namespace PI::Internals
{

boost::filesystem::path DefaultConfigFolder()
{
    using boost::filesystem::path;
    boost::system::error_code error;
    if (boost::filesystem::is_directory("/etc/tarnis", error))
        return "/etc/tarnis";
    if (const std::string folder = ZKT::Misc::GetVariable("XDG_CONFIG_HOME"); !folder.empty())
        return path(folder) / "tarnis";
    if (const std::string folder = ZKT::Misc::GetVariable("HOME"); !folder.empty())
        return path(folder) / ".config" / "tarnis";
    return {};
}

} // namespace PI::Internals
