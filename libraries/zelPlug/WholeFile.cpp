#include "contracts/zelPlug/WholeFile.h"

#include "libraries/PrivateFile.h"
#include "libraries/zelPlug/FileReplacement.h"

#include <utility>

namespace PI
{
namespace
{

FileState StateOf(Internals::Unreadable why)
{
    switch (why)
    {
    case Internals::Unreadable::NoFile:
        return FileState::NoFile;
    case Internals::Unreadable::TooLong:
        return FileState::TooLong;
    case Internals::Unreadable::Link:
        return FileState::Link;
    default:
        return FileState::Unreadable;
    }
}

} // namespace

FileState ReadWholeFile(const std::string& path, std::size_t limit, std::string& content)
{
    boost::filesystem::path target = path;
    if (!PrivateFile::ResolveLinks(target))
        return FileState::Link;
    Internals::FileContent file;
    switch (Internals::ReadWhole(target, Internals::Purpose::Read, limit, file))
    {
    case Internals::ReadResult::Read:
        content = std::move(file.text);
        return FileState::Read;
    case Internals::ReadResult::Missing:
        return FileState::Missing;
    default:
        return StateOf(file.why);
    }
}

bool ReplaceWholeFile(const std::string& path, const std::string& content)
{
    boost::filesystem::path target = path;
    return PrivateFile::ResolveLinks(target) &&
           Internals::PutInPlace(target, content, std::nullopt);
}

} // namespace PI
