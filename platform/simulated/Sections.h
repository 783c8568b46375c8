// The parts of a machine file, one reader for each.
#pragma once

#include "platform/simulated/JsonValue.h"
#include "platform/simulated/MachineFile.h"
#include "platform/simulated/Pages.h"

namespace Platform
{

inline constexpr DWORD HighestDiskNumber = 0x7FFFFFFF;
inline constexpr std::size_t LongestService = 199; ///< a buffer of 200 bytes has room for it

/// "devices": fills the tree and the interfaces, and enters the disks that it names.
void ReadDevices(const JsonValue* devices, MachineRecord& machine);

/// "disks".
void ReadDisks(const JsonValue& disks, PageFiles& files, MachineRecord& machine);

} // namespace Platform
