// The rights that kept disks from being read, and the line that tells people of them.
#pragma once

#include "platform/linux/KernelPicture.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>

namespace Platform
{

enum class Right
{
    ReadAccess, ///< the device file may not be read
    RawIo,      ///< the kernel refuses ATA commands
    DeviceFile, ///< there is no device file, as in a container that was not given the disk
    DeviceRule  ///< a container's rules forbid the disk, to root as well
};

/// What was refused at the last try, by disk name. Safe from any thread.
class MissingRights
{
  public:
    void Note(const std::string& disk, Right right);
    void Clear(const std::string& disk);

    /// One line for the disks of the picture; empty when nothing was refused.
    /// @param hasRawIo  whether this process has CAP_SYS_RAWIO
    std::string Tell(const KernelPicture& picture, bool hasRawIo) const;

  private:
    mutable std::mutex m_Lock;
    std::map<std::string, Right> m_Refused;
    std::atomic<bool> m_HasAny = false;
};

/// Whether a process has CAP_SYS_RAWIO, by its status file in /proc.
bool HasRawIo(const std::string& status);

} // namespace Platform
