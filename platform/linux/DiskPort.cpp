#include "platform/linux/DiskPort.h"

#include <cerrno>
#include <cstdint>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace Platform
{

namespace
{

// <linux/fs.h> has it since Linux 5.15.
constexpr unsigned long GetSequence = _IOR(0x12, 128, std::uint64_t); // BLKGETDISKSEQ

/// Whether an open file leads where it shall. The kernel gives no disk the sequence of another, and
/// asking for it costs less than the file's status.
bool LeadsTo(int descriptor, const WantedDevice& wanted)
{
    std::uint64_t sequence = 0;
    if (!wanted.sequence.empty() && ioctl(descriptor, GetSequence, &sequence) == 0 &&
        std::to_string(sequence) == wanted.sequence)
        return true;
    // A change of medium gives a disk another sequence, too.
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISBLK(status.st_mode) &&
           std::to_string(major(status.st_rdev)) + ":" + std::to_string(minor(status.st_rdev)) ==
               wanted.device;
}

} // namespace

int DiskPort::Open(const std::string& path, const WantedDevice& wanted, FileDescriptor& file)
{
    // Without O_NONBLOCK the kernel would look whether a removable disk has a medium.
    FileDescriptor opened(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!opened.IsOpen())
        return errno;
    if (!LeadsTo(opened.Get(), wanted))
        return ENODEV;
    file = std::move(opened);
    return 0;
}

int DiskPort::Send(int descriptor, sg_io_hdr_t& request)
{
    return ioctl(descriptor, SG_IO, &request) == 0 ? 0 : errno;
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
