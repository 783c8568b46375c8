#include "platform/HostSystem.h"

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/SystemFiles.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

namespace Platform
{

namespace
{

constexpr std::int64_t NanosecondsPerSecond = 1'000'000'000;

std::int64_t Nanoseconds(const timespec& time)
{
    return time.tv_sec * NanosecondsPerSecond + time.tv_nsec;
}

FileStamp MakeStamp(const struct stat& status)
{
    return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
            Nanoseconds(status.st_mtim)};
}

bool IsFresh(const FileStamp& stamp)
{
    constexpr std::int64_t ClockStep = NanosecondsPerSecond / 20;
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::int64_t age = Nanoseconds(now) - stamp.changed;
    return age > -ClockStep && age < ClockStep;
}

std::string Reason(int error)
{
    return std::generic_category().message(error);
}

} // namespace

const char* const FolderSeparators = "/";

std::size_t DriveSize(const std::string&)
{
    return 0;
}

FileStamp StampOf(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? MakeStamp(status) : FileStamp{};
}

std::string ReadWholeFile(WatchedFile& file, std::size_t limit, std::string& content)
{
    file.stamp = StampOf(file.path);
    file.isFresh = true; // what cannot be read is tried again, whether it changes or not
    // Without O_NONBLOCK, a FIFO would hold us until somebody writes.
    const FileDescriptor descriptor(
        open(file.path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (descriptor.Get() < 0)
        CheckResources(errno);
    if (descriptor.Get() < 0)
        return "cannot be opened (" + Reason(errno) + ")";
    struct stat status = {};
    if (fstat(descriptor.Get(), &status) != 0)
        return "cannot be read (" + Reason(errno) + ")";
    if (S_ISDIR(status.st_mode))
        return "is a directory";
    if (!S_ISREG(status.st_mode))
        return "is not a regular file";
    file.stamp = MakeStamp(status);

    content.clear();
    if (file.stamp.size <= limit)
        content.reserve(file.stamp.size);
    std::string block(std::min<std::size_t>(limit, 1 << 16) + 1, '\0');
    for (;;)
    {
        const ssize_t count = read(descriptor.Get(), block.data(), block.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            CheckResources(errno);
        if (count < 0)
            return "cannot be read (" + Reason(errno) + ")";
        if (count == 0)
        {
            file.isFresh = IsFresh(file.stamp);
            return "";
        }
        content.append(block, 0, static_cast<std::size_t>(count));
        if (content.size() > limit)
            return TooLarge(limit);
    }
}

} // namespace Platform
