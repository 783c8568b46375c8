#include "platform/linux/SystemFiles.h"

#include "platform/Shortage.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <memory>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform
{

namespace
{

constexpr std::size_t AttributeBytes = 4096; // a page of memory is the kernel's own limit
constexpr std::size_t NamesKept = 65536;

} // namespace

DWORD ErrorOfCall(int error)
{
    switch (error)
    {
    case EPERM:
    case EACCES:
        return ERROR_ACCESS_DENIED;
    case ENODEV:
    case ENXIO:
        return ERROR_NOT_READY;
    case EMFILE:
    case ENFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    default:
        return ERROR_IO_DEVICE;
    }
}

void CheckResources(int error)
{
    ThrowShortage(ErrorOfCall(error));
}

FileDescriptor OpenSystemFile(const std::string& path)
{
    // Without O_NONBLOCK, a FIFO would hold us until somebody writes.
    FileDescriptor file(
        open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW));
    struct stat status = {};
    if (!file.IsOpen())
        CheckResources(errno);
    if (file.IsOpen() && (fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)))
        return FileDescriptor();
    return file;
}

std::optional<std::string> ReadSystemFile(const std::string& path, std::size_t limit)
{
    const FileDescriptor file = OpenSystemFile(path);
    if (!file.IsOpen())
        return std::nullopt;
    std::string content;
    std::array<char, AttributeBytes> block;
    while (content.size() < limit)
    {
        const ssize_t count =
            read(file.Get(), block.data(), std::min(block.size(), limit - content.size()));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
        {
            CheckResources(errno);
            return std::nullopt;
        }
        if (count == 0)
            break;
        content.append(block.data(), static_cast<std::size_t>(count));
    }
    return content;
}

std::optional<std::string> ReadAttribute(const std::string& path)
{
    std::optional<std::string> text = ReadSystemFile(path, AttributeBytes);
    if (text)
        text->resize(std::min(text->find('\n'), text->size()));
    return text;
}

std::optional<std::uint64_t> ReadNumber(const std::string& path)
{
    const std::optional<std::string> text = ReadAttribute(path);
    std::uint64_t number = 0;
    if (!text)
        return std::nullopt;
    const char* last = text->data() + text->size();
    const auto [end, error] = std::from_chars(text->data(), last, number);
    if (error != std::errc() || end != last)
        return std::nullopt;
    return number;
}

std::optional<std::string> ReadLink(const std::string& path)
{
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length < 0)
        CheckResources(errno);
    if (length <= 0 || static_cast<std::size_t>(length) == target.size())
        return std::nullopt;
    return std::string(target.data(), static_cast<std::size_t>(length));
}

std::vector<std::string> ListFolder(const std::string& path)
{
    const auto closer = [](DIR* folder) { closedir(folder); };
    const std::unique_ptr<DIR, decltype(closer)> folder(opendir(path.c_str()), closer);
    std::vector<std::string> names;
    if (!folder)
    {
        CheckResources(errno);
        return names;
    }
    const auto next = [&]
    {
        errno = 0; // of the end of the folder
        return readdir(folder.get());
    };
    while (const dirent* entry = next())
    {
        if (entry->d_name[0] != '.' && names.size() < NamesKept)
            names.emplace_back(entry->d_name);
    }
    CheckResources(errno);
    return names;
}

std::string LastName(const std::string& path)
{
    return path.substr(path.rfind('/') + 1); // npos + 1 is the whole
}

} // namespace Platform
