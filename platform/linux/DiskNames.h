// The kernel's names of SCSI disks and the disk numbers that stand for them.
#pragma once

#include "contracts/Export.h"
#include "platform/WindowsTypes.h"

#include <optional>
#include <string>
#include <string_view>

namespace Platform
{

/// The number of a disk by its name, in the kernel's own order: sda 0, sdb 1, sdz 25, sdaa 26.
/// Nothing for any other name, or when the number would be none of "\\.\PhysicalDrive%d".
PLATFORM_API std::optional<DWORD> DiskNumberOfName(std::string_view name);

} // namespace Platform
