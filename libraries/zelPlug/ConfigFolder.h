// Where settings lie when nobody says it; linux/ and windows/ hold the places.
#pragma once

#include <boost/filesystem/path.hpp>

namespace PI::Internals
{

/// The folder of the whole computer if it exists, else the user's own. Empty when there is neither.
boost::filesystem::path DefaultConfigFolder();

} // namespace PI::Internals
