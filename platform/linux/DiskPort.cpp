#include "platform/linux/DiskPort.h"

#include <cerrno>
#include <cstdint>

#include <fcntl.h>
#include <linux/bsg.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace Platform
{

namespace
{

// <linux/fs.h> has it since Linux 5.15.
constexpr unsigned long GetSequence = _IOR(0x12, 128, std::uint64_t); // BLKGETDISKSEQ

bool IsDevice(int descriptor, mode_t kind, const std::string& device)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && (status.st_mode & S_IFMT) == kind &&
           std::to_string(major(status.st_rdev)) + ":" + std::to_string(minor(status.st_rdev)) ==
               device;
}

/// Whether an open file leads where it shall. The kernel gives no disk the sequence of another, and
/// asking for it costs less than the file's status.
bool LeadsTo(int descriptor, const WantedDevice& wanted)
{
    std::uint64_t sequence = 0;
    if (!wanted.sequence.empty() && ioctl(descriptor, GetSequence, &sequence) == 0 &&
        std::to_string(sequence) == wanted.sequence)
        return true;
    // A change of medium gives a disk another sequence, too.
    return IsDevice(descriptor, S_IFBLK, wanted.device);
}

/// Opens a file that leads where it shall.
template <class Check> int OpenChecked(const std::string& path, FileDescriptor& file, Check check)
{
    // Without O_NONBLOCK the kernel would look whether a removable disk has a medium.
    FileDescriptor opened(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!opened.IsOpen())
        return errno;
    if (!check(opened.Get()))
        return ENODEV;
    file = std::move(opened);
    return 0;
}

template <class Pointer> std::uint64_t AddressOf(Pointer* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

/// The same request in the form that generic SCSI devices take. All of ours read or move nothing.
int SendGeneric(int descriptor, sg_io_hdr_t& request)
{
    sg_io_v4 form = {};
    form.guard = 'Q';
    form.flags = BSG_FLAG_Q_AT_TAIL; // as requests to a device file
    form.request_len = request.cmd_len;
    form.request = AddressOf(request.cmdp);
    form.max_response_len = request.mx_sb_len;
    form.response = AddressOf(request.sbp);
    form.din_xfer_len = request.dxfer_len;
    form.din_xferp = AddressOf(request.dxferp);
    form.timeout = request.timeout;
    if (ioctl(descriptor, SG_IO, &form) != 0)
        return errno;
    request.status = static_cast<unsigned char>(form.device_status);
    request.host_status = static_cast<unsigned short>(form.transport_status);
    request.driver_status = static_cast<unsigned short>(form.driver_status);
    request.sb_len_wr = static_cast<unsigned char>(form.response_len);
    request.resid = form.din_resid;
    return 0;
}

} // namespace

int DiskPort::Open(const std::string& path, const WantedDevice& wanted, FileDescriptor& file)
{
    return OpenChecked(path, file, [&](int descriptor) { return LeadsTo(descriptor, wanted); });
}

int DiskPort::OpenGeneric(const std::string& path, const std::string& device, FileDescriptor& file)
{
    return OpenChecked(path, file,
                       [&](int descriptor) { return IsDevice(descriptor, S_IFCHR, device); });
}

int DiskPort::Send(const CommandFile& file, sg_io_hdr_t& request)
{
    if (file.isGeneric)
        return SendGeneric(file.descriptor, request);
    return ioctl(file.descriptor, SG_IO, &request) == 0 ? 0 : errno;
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
