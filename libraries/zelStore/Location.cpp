#include "libraries/zelStore/Location.h"

#include "contracts/zelStore/RowState.h"

#include "contracts/zelKit/Environment.h"
#include "libraries/zelStore/SystemFiles.h"

#include <boost/filesystem/operations.hpp>

namespace DatabaseWrapper::Internals
{
namespace
{

using boost::filesystem::path;

constexpr const char* fileName = "tarnis.db";

std::string Absolute(const path& place)
{
    boost::system::error_code error;
    const path folder = boost::filesystem::current_path(error);
    return error ? place.string() : boost::filesystem::absolute(place, folder).string();
}

} // namespace

std::string LocateDatabase()
{
    const std::string named = ZKT::Misc::GetVariable("TARNIS_DATABASE");
    if (!named.empty())
        return named == inMemory ? named : Absolute(named);
    const path common = CommonFolder();
    if (!common.empty() && (IsWritable(common / fileName) || IsWritable(common)))
        return (common / fileName).string();
    const path own = OwnFolder();
    return own.empty() ? std::string() : Absolute(own / fileName);
}

} // namespace DatabaseWrapper::Internals

std::string DatabaseWrapper::DatabaseFile()
{
    const std::string file = Internals::LocateDatabase();
    return file == Internals::inMemory ? std::string() : file;
}
