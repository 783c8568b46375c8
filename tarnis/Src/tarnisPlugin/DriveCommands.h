// Every command that the plug-in sends to a drive. None of them writes, none is retried, and each
// takes as long as the driver takes. A lack of memory or of descriptors is no answer of a drive:
// all throw std::bad_alloc then.
//
// A handle is that of an open drive with read and write access. `driveNumber` is the low 8 bits of
// the disk number: the published command structure has no room for more.
#pragma once

#include "contracts/zelPlug.h"
#include "platform/WindowsTypes.h"
#include "tarnis/Src/tarnisPlugin/IdentifyPage.h"

#include <cstdint>

namespace NAMESPACE_tarnis
{

/// Length of the drive in bytes; untouched on failure.
bool GetDriveLength(HANDLE drive, std::uint64_t& bytes);

/// Whether the drive takes SMART commands.
bool GetSmartVersion(HANDLE drive);

bool IdentifyDrive(HANDLE drive, std::uint8_t driveNumber, IdentifyData& words);

/// The drive's SMART page, read at most once in 300 seconds. The pages are kept for the life of the
/// process, by `driveNumber`, under a lock of their own that no drive is asked under.
/// @return 0, or 20000 (GENERAL); `page` may then hold the last page read, out of date
PI::_ERROR_CODE ReadSmartData(HANDLE drive, std::uint8_t driveNumber, PI::_IDE_SMART_DATA& page);

} // namespace NAMESPACE_tarnis
