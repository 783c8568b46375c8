// The partition table of a disk, as Windows tells it.
#pragma once

#include "contracts/zelKitEx/PartitionTable.h"
#include "platform/WindowsTypes.h"

#include <vector>

namespace Platform
{

/// Partitions of an answer to IOCTL_DISK_GET_DRIVE_LAYOUT_EX, in its order, without what is no
/// partition: unused entries and those that only hold others. What stands on them is left empty.
/// @param answer  the bytes that came, whole or cut off
std::vector<ZKTX::CSystemPartition> ReadLayout(DWORD diskNumber, const std::vector<BYTE>& answer);

} // namespace Platform
