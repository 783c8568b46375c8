#include "libraries/zelStore/SystemFiles.h"

#include "contracts/zelKit/Environment.h"

#include <sys/stat.h>
#include <unistd.h>

namespace DatabaseWrapper::Internals
{

using boost::filesystem::path;

path CommonFolder()
{
    return "/var/lib/tarnis";
}

path OwnFolder()
{
    if (const std::string folder = ZKT::Misc::GetVariable("XDG_STATE_HOME"); !folder.empty())
        return path(folder) / "tarnis";
    if (const std::string folder = ZKT::Misc::GetVariable("HOME"); !folder.empty())
        return path(folder) / ".local" / "state" / "tarnis";
    return {};
}

bool IsWritable(const path& place)
{
    return access(place.c_str(), R_OK | W_OK) == 0;
}

FileIdentity IdentityOf(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return {};
    return std::pair<std::uint64_t, std::uint64_t>(status.st_dev, status.st_ino);
}

} // namespace DatabaseWrapper::Internals
