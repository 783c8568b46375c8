// The volumes of Windows, and what stands on them.
#pragma once

#include "platform/WindowsTypes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Platform
{

/// Where a part of a volume lies.
struct VolumeExtent
{
    DWORD diskNumber;
    std::uint64_t start; ///< bytes
};

struct Volume
{
    std::vector<VolumeExtent> extents;
    std::string mountPoint; ///< the first one, such as "C:\"; empty for none
    std::string fileSystem; ///< such as "NTFS"; empty when Windows reads none
    std::string label;
    bool isReadOnly = false;
};

/// The volumes that have a part on a disk. Needs no right of its own.
std::vector<Volume> VolumesOn(DWORD diskNumber);

} // namespace Platform
