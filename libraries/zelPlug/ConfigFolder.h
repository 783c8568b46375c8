// Where settings lie.
#pragma once

#include <boost/filesystem/path.hpp>

namespace PI::Internals
{

/// Where a settings file of that name lies; empty when there is no place for it.
boost::filesystem::path LocateConfigFile(const boost::filesystem::path& name);

/// Where they lie when nobody says it: the folder of the whole computer if it exists, else the
/// user's own (linux/ and windows/ hold the places). Empty when there is neither.
boost::filesystem::path DefaultConfigFolder();

} // namespace PI::Internals
