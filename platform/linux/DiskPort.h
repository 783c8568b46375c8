// The calls that go to a disk: to its device file, and to its generic SCSI device.
#pragma once

#include "contracts/Export.h"
#include "platform/linux/BlockProbe.h"
#include "platform/linux/FileDescriptor.h"

#include <optional>
#include <string>
#include <string_view>

#include <scsi/sg.h>

namespace Platform
{

/// A disk or a partition.
struct WantedDevice
{
    const std::string& device; ///< "major:minor"
    std::string_view sequence; ///< of a whole disk whose number in the kernel's count is known
};

/// An open file that takes commands to a disk.
struct CommandFile
{
    int descriptor = -1;
    bool isGeneric = false; ///< a generic SCSI device
};

/// The kernel's own calls; whoever derives from it stands in for the kernel. Calls from any thread,
/// several at once, with no lock held: each may take as long as its disk does.
class PLATFORM_API DiskPort
{
  public:
    virtual ~DiskPort() = default;

    /// Opens a device file for reading alone.
    /// @param wanted  what the file must lead to: names come and go
    /// @return 0 or an error number; ENODEV for a file of another disk
    virtual int Open(const std::string& path, const WantedDevice& wanted, FileDescriptor& file);

    /// Opens a generic SCSI device (/dev/bsg) for reading alone. Nothing else is held by it: the
    /// disk can go, and its name be given anew.
    /// @param device  "major:minor", which it must have
    /// @return as above
    virtual int OpenGeneric(const std::string& path, const std::string& device,
                            FileDescriptor& file);

    /// Sends one SCSI request (SG_IO). 0 or an error number.
    virtual int Send(const CommandFile& file, sg_io_hdr_t& request);

    /// What stands on it, as BlockProbe.h tells; nothing when it cannot be read.
    virtual std::optional<TableFacts> ReadTable(int descriptor);
    virtual std::optional<ContentFacts> ReadContent(int descriptor);
};

} // namespace Platform
