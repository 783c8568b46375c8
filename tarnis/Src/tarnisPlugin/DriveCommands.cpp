#include "tarnis/Src/tarnisPlugin/DriveCommands.h"

#include "base/UntilUnload.h"
#include "contracts/zelKit.h"
#include "platform/Shortage.h"
#include "platform/WindowsApi.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

namespace NAMESPACE_tarnis
{
namespace
{

constexpr std::uint64_t SmartPageLifetime = 300000; // ms; at this age a page is still good

constexpr DWORD CommandBytes = sizeof(SENDCMDINPARAMS);
constexpr DWORD ReplyBytes = CommandBytes + Platform::SectorBytes;
static_assert(CommandBytes == 33 && ReplyBytes == 545);

struct SmartCacheEntry
{
    std::uint8_t driveNumber;
    std::uint64_t readTime;
    PI::_IDE_SMART_DATA data;
};

std::mutex SmartCacheLock; ///< for moments: several instances may scan at once

/// Under the lock.
std::vector<SmartCacheEntry>& SmartPages()
{
    static Base::UntilUnload<std::vector<SmartCacheEntry>> pages;
    return *pages;
}

/// Null for a drive that has none. Under the lock.
SmartCacheEntry* CachedPage(std::uint8_t driveNumber)
{
    auto& pages = SmartPages();
    const auto found = std::find_if(pages.begin(), pages.end(),
                                    [driveNumber](const SmartCacheEntry& entry)
                                    { return entry.driveNumber == driveNumber; });
    return found == pages.end() ? nullptr : &*found;
}

/// @return whether the drive has a page that is good still
bool FindPage(std::uint8_t driveNumber, PI::_IDE_SMART_DATA& page)
{
    const std::lock_guard guard(SmartCacheLock);
    const SmartCacheEntry* cached = CachedPage(driveNumber);
    if (cached == nullptr)
        return false;
    page = cached->data;
    // A clock that was set back makes the age huge, and the page is read anew.
    return ZKT::Misc::now() - cached->readTime <= SmartPageLifetime;
}

void KeepPage(std::uint8_t driveNumber, const PI::_IDE_SMART_DATA& page)
{
    const std::lock_guard guard(SmartCacheLock);
    const std::uint64_t readTime = ZKT::Misc::now();
    if (SmartCacheEntry* cached = CachedPage(driveNumber))
        *cached = {driveNumber, readTime, page};
    else
        SmartPages().push_back({driveNumber, readTime, page});
}

constexpr IDEREGS Registers(BYTE features, BYTE cylinderLow, BYTE cylinderHigh, BYTE command)
{
    return {features, 1, 1, cylinderLow, cylinderHigh, 0xA0, command, 0};
}

constexpr IDEREGS IdentifyRegisters = Registers(0, 0, 0, ID_CMD);
constexpr IDEREGS SmartReadRegisters =
    Registers(READ_ATTRIBUTES, SMART_CYL_LOW, SMART_CYL_HI, SMART_CMD);

/// Sends one ATA command that answers with a sector. One block serves as input and as output.
/// @return the block, whose data begins at ReplyDataOffset, or null
std::unique_ptr<std::uint8_t[]> SendCommand(HANDLE drive, std::uint8_t driveNumber,
                                            const IDEREGS& registers)
{
    std::unique_ptr<std::uint8_t[]> block(new (std::nothrow) std::uint8_t[ReplyBytes]());
    if (!block)
        throw Platform::Shortage();
    SENDCMDINPARAMS command = {};
    command.cBufferSize = Platform::SectorBytes;
    command.irDriveRegs = registers;
    command.bDriveNumber = driveNumber;
    std::memcpy(block.get(), &command, sizeof command);

    DWORD returned = 0;
    if (!Platform::Succeeded(Platform::DeviceIoControl(drive, SMART_RCV_DRIVE_DATA, block.get(),
                                                       CommandBytes, block.get(), ReplyBytes,
                                                       &returned, nullptr)))
        return nullptr;
    return block;
}

} // namespace

bool GetDriveLength(HANDLE drive, std::uint64_t& bytes)
{
    GET_LENGTH_INFORMATION length = {};
    DWORD returned = 0;
    if (!Platform::Succeeded(Platform::DeviceIoControl(drive, IOCTL_DISK_GET_LENGTH_INFO, nullptr,
                                                       0, &length, sizeof length, &returned,
                                                       nullptr)))
        return false;
    bytes = static_cast<std::uint64_t>(length.Length.QuadPart);
    return true;
}

bool GetSmartVersion(HANDLE drive)
{
    GETVERSIONINPARAMS version = {};
    DWORD returned = 0;
    return Platform::Succeeded(Platform::DeviceIoControl(
        drive, SMART_GET_VERSION, nullptr, 0, &version, sizeof version, &returned, nullptr));
}

bool IdentifyDrive(HANDLE drive, std::uint8_t driveNumber, IdentifyData& words)
{
    const auto reply = SendCommand(drive, driveNumber, IdentifyRegisters);
    if (!reply)
        return false;
    std::array<std::uint16_t, std::tuple_size_v<IdentifyData>> data; // little-endian, as we are
    static_assert(sizeof data == Platform::SectorBytes);
    std::memcpy(data.data(), reply.get() + Platform::ReplyDataOffset, sizeof data);
    std::copy(data.begin(), data.end(), words.begin());
    return true;
}

PI::_ERROR_CODE ReadSmartData(HANDLE drive, std::uint8_t driveNumber, PI::_IDE_SMART_DATA& page)
{
    if (FindPage(driveNumber, page))
        return PI::ERR_SUCCESS;
    const auto reply = SendCommand(drive, driveNumber, SmartReadRegisters);
    if (!reply)
        return PI::ERR_GENERAL;
    std::memcpy(&page, reply.get() + Platform::ReplyDataOffset, sizeof page);
    KeepPage(driveNumber, page);
    return PI::ERR_SUCCESS;
}

} // namespace NAMESPACE_tarnis
