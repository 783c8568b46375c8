// The buffers of SMART_RCV_DRIVE_DATA, apart from any I/O.
#pragma once

#include "platform/Machine.h"

namespace Platform
{

enum class DriveRequest
{
    Identify,
    SmartData
};

/// Bytes of a whole reply.
inline constexpr DWORD ReplyBytes = ReplyDataOffset + SectorBytes;

/// Finds out what the buffers ask for. As the disk class driver of Windows, takes an input without
/// its one-byte buffer, and names a short input an invalid parameter, a short output an
/// insufficient buffer. A null pointer counts as a buffer of no bytes. Only the two reading
/// commands pass: nothing that could change a drive goes further than here.
/// @return ERROR_SUCCESS, or why the request is refused
DWORD DecodeDriveRequest(const void* input, DWORD inputSize, const void* output, DWORD outputSize,
                         DriveRequest& request);

/// Writes ReplyBytes to the output, which may be the input's block.
void EncodeDriveReply(const Sector& data, void* output);

} // namespace Platform
