// One open disk of this computer.
#pragma once

#include "platform/linux/SystemState.h"

#include <memory>

namespace Platform
{

/// Opens a disk.
/// @param now  whether its device file is opened at once, not only with the first question to the
///             disk; one that the kernel has suspended is not opened at all
DWORD OpenSystemDisk(std::shared_ptr<SystemState> state, DWORD number,
                     std::shared_ptr<const KernelDisk> disk, bool now,
                     std::unique_ptr<Device>& device);

} // namespace Platform
