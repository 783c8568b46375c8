#include "libraries/zelStore/Location.h"

#include "contracts/zelStore/RowState.h"

#include "contracts/zelKit/Environment.h"
#include "libraries/zelStore/SystemFiles.h"

#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace DatabaseWrapper::Internals
{
namespace
{

using boost::filesystem::path;

constexpr std::size_t longestName = 60; ///< of a machine, in the name of its database

path Absolute(const path& place)
{
    boost::system::error_code error;
    const path folder = boost::filesystem::current_path(error);
    return error ? place : boost::filesystem::absolute(place, folder);
}

bool IsPlain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
}

/// Eight digits that hardly another path has: machine files of one name may lie in many folders.
std::string DigitsOf(const std::string& text)
{
    std::uint32_t sum = 2166136261U; // FNV-1a
    for (const char c : text)
        sum = (sum ^ static_cast<unsigned char>(c)) * 16777619U;
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(sum));
    return digits;
}

/// The rows of the computer itself and those of machines that stand in for it lie apart: each would
/// take the other's drives for gone.
std::string FileName()
{
    const std::string machine = ZKT::Misc::GetVariable("TARNIS_MACHINE");
    if (machine.empty())
        return "tarnis.db";
    std::string name = path(machine).stem().string().substr(0, longestName);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !IsPlain(c); }, '_');
    return "machine-" + name + '-' + DigitsOf(Absolute(machine).lexically_normal().string()) +
           ".db";
}

} // namespace

std::string LocateDatabase()
{
    const std::string named = ZKT::Misc::GetVariable("TARNIS_DATABASE");
    if (!named.empty())
        return named == inMemory ? named : Absolute(named).string();
    const std::string fileName = FileName();
    const path common = CommonFolder();
    if (!common.empty() && (IsWritable(common / fileName) || IsWritable(common)))
        return (common / fileName).string();
    const path own = OwnFolder();
    return own.empty() ? std::string() : Absolute(own / fileName).string();
}

} // namespace DatabaseWrapper::Internals

std::string DatabaseWrapper::DatabaseFile()
{
    const std::string file = Internals::LocateDatabase();
    return file == Internals::inMemory ? std::string() : file;
}
