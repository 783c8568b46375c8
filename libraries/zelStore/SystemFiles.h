// What the system knows of files and where ours lie; linux/ and windows/ hold the ways.
#pragma once

#include "libraries/zelStore/MovedFile.h"

#include <boost/filesystem/path.hpp>

namespace DatabaseWrapper::Internals
{

/// The folder of the database that all users share, whether it exists or not.
boost::filesystem::path CommonFolder();

/// The folder of a user's own database; empty when the environment tells of none.
boost::filesystem::path OwnFolder();

/// Whether this process may write to a file that exists, or put files into a folder that does.
bool IsWritable(const boost::filesystem::path& place);

FileIdentity IdentityOf(const std::string& path);

} // namespace DatabaseWrapper::Internals
