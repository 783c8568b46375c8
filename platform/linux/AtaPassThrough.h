// ATA commands to a disk by SG_IO, in the form that SAT (SCSI / ATA Translation) gives them.
//
// Only the three commands below ever go to a disk, none of which writes.
#pragma once

#include "platform/Machine.h"
#include "platform/linux/DiskPort.h"

namespace Platform
{

/// How long the kernel lets one command take, in milliseconds, before it resets the link.
inline constexpr unsigned SgTimeout = 10'000;

// These give Windows error codes: ERROR_NOT_READY for a disk that is gone, ERROR_ACCESS_DENIED for
// a caller without CAP_SYS_RAWIO, ERROR_IO_DEVICE for all that goes wrong at the disk, time-outs
// and short transfers included. The page is written on success alone.

/// ATA IDENTIFY DEVICE.
DWORD SendIdentify(DiskPort& port, const CommandFile& file, Sector& page);

/// ATA SMART READ DATA. Wakes a sleeping disk.
DWORD SendSmartReadData(DiskPort& port, const CommandFile& file, Sector& page);

/// ATA CHECK POWER MODE, which wakes no disk. A disk that does not know the command never sleeps.
/// @param isAsleep  true in standby, where the disk has stopped spinning
DWORD SendCheckPowerMode(DiskPort& port, const CommandFile& file, bool& isAsleep);

} // namespace Platform
