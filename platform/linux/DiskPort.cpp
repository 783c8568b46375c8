#include "platform/linux/DiskPort.h"

#include <cerrno>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace Platform
{

int DiskPort::Open(const std::string& path, const std::string& device, FileDescriptor& file)
{
    // Without O_NONBLOCK the kernel would look whether a removable disk has a medium.
    FileDescriptor opened(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!opened.IsOpen())
        return errno;
    struct stat status = {};
    if (fstat(opened.Get(), &status) != 0)
        return errno;
    if (!S_ISBLK(status.st_mode) ||
        std::to_string(major(status.st_rdev)) + ":" + std::to_string(minor(status.st_rdev)) !=
            device)
        return ENODEV;
    file = std::move(opened);
    return 0;
}

int DiskPort::Send(int descriptor, sg_io_hdr_t& request)
{
    return ioctl(descriptor, SG_IO, &request) == 0 ? 0 : errno;
}

int DiskPort::Length(int descriptor, std::uint64_t& bytes)
{
    return ioctl(descriptor, BLKGETSIZE64, &bytes) == 0 ? 0 : errno;
}

std::optional<TableFacts> DiskPort::ReadTable(int descriptor)
{
    return ProbeTable(descriptor);
}

std::optional<ContentFacts> DiskPort::ReadContent(int descriptor)
{
    return ProbeContent(descriptor);
}

} // namespace Platform
