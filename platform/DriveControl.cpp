#include "platform/DriveControl.h"

#include <cstddef>
#include <cstring>

namespace Platform
{

DWORD DecodeDriveRequest(const void* input, DWORD inputSize, const void* output, DWORD outputSize,
                         DriveRequest& request)
{
    constexpr std::size_t HeadBytes = offsetof(SENDCMDINPARAMS, bBuffer);
    if (input == nullptr || inputSize < HeadBytes)
        return ERROR_INVALID_PARAMETER;
    if (output == nullptr || outputSize < ReplyBytes)
        return ERROR_INSUFFICIENT_BUFFER;

    // A copy: the caller's block need not be aligned.
    SENDCMDINPARAMS parameters = {};
    std::memcpy(&parameters, input, HeadBytes);
    const IDEREGS& registers = parameters.irDriveRegs;
    if (registers.bCommandReg == ID_CMD)
    {
        request = DriveRequest::Identify;
        return ERROR_SUCCESS;
    }
    if (registers.bCommandReg == SMART_CMD && registers.bFeaturesReg == READ_ATTRIBUTES &&
        registers.bCylLowReg == SMART_CYL_LOW && registers.bCylHighReg == SMART_CYL_HI)
    {
        request = DriveRequest::SmartData;
        return ERROR_SUCCESS;
    }
    return ERROR_INVALID_PARAMETER;
}

void EncodeDriveReply(const Sector& data, void* output)
{
    SENDCMDOUTPARAMS head = {};
    head.cBufferSize = SectorBytes;
    auto* bytes = static_cast<std::uint8_t*>(output);
    std::memcpy(bytes, &head, ReplyDataOffset);
    std::memcpy(bytes + ReplyDataOffset, data.data(), data.size());
}

} // namespace Platform
