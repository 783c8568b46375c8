// One open disk of this computer.
#pragma once

#include "platform/linux/SystemState.h"

#include <memory>

namespace Platform
{

/// Opens a disk.
/// @param now  whether what takes its commands is opened at once, not only with the first question
///             to the disk; for one that the kernel has suspended nothing is opened
DWORD OpenSystemDisk(std::shared_ptr<SystemState> state, DWORD number,
                     std::shared_ptr<const KernelDisk> disk, bool now,
                     std::unique_ptr<Device>& device);

} // namespace Platform
