#include "libraries/zelStore/Location.h"

#include <boost/filesystem/operations.hpp>

#include <cstdlib>
#include <sqlite3.h>

namespace DatabaseWrapper::Internals
{
namespace
{

using boost::filesystem::path;

constexpr const char* systemFolder = "/var/lib/tarnis";
constexpr const char* fileName = "tarnis.db";

/// The value of a variable that is set and not empty, else null.
const char* Variable(const char* name)
{
    const char* text = std::getenv(name);
    return text != nullptr && *text != '\0' ? text : nullptr;
}

bool IsWritable(const path& place)
{
    sqlite3_vfs* system = sqlite3_vfs_find(nullptr);
    int writable = 0;
    return system != nullptr &&
           system->xAccess(system, place.c_str(), SQLITE_ACCESS_READWRITE, &writable) ==
               SQLITE_OK &&
           writable != 0;
}

std::string Absolute(const path& place)
{
    boost::system::error_code error;
    const path folder = boost::filesystem::current_path(error);
    return error ? place.string() : boost::filesystem::absolute(place, folder).string();
}

} // namespace

std::string LocateDatabase()
{
    if (const char* named = Variable("TARNIS_DATABASE"))
        return named == std::string(inMemory) ? named : Absolute(named);
    const path common = path(systemFolder) / fileName;
    if (IsWritable(common) || IsWritable(systemFolder))
        return common.string();
    if (const char* folder = Variable("XDG_STATE_HOME"))
        return Absolute(path(folder) / "tarnis" / fileName);
    if (const char* folder = Variable("HOME"))
        return Absolute(path(folder) / ".local" / "state" / "tarnis" / fileName);
    return {};
}

} // namespace DatabaseWrapper::Internals
