#include "libraries/zelPlug/ConfigFolder.h"

#include "contracts/zelKit/Environment.h"

#include <boost/filesystem/operations.hpp>

namespace PI::Internals
{

boost::filesystem::path DefaultConfigFolder()
{
    using boost::filesystem::path;
    boost::system::error_code error;
    if (const std::string common = ZKT::Misc::GetVariable("ProgramData"); !common.empty())
        if (path folder = path(common) / "tarnis"; boost::filesystem::is_directory(folder, error))
            return folder;
    const std::string own = ZKT::Misc::GetVariable("LOCALAPPDATA");
    return own.empty() ? path() : path(own) / "tarnis";
}

} // namespace PI::Internals
