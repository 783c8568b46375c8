#include "platform/linux/AtaPassThrough.h"

#include "platform/linux/SystemFiles.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include <scsi/sg.h>

namespace Platform
{

namespace
{

// ATA PASS-THROUGH (16) of SAT.
constexpr std::uint8_t PassThrough16 = 0x85;
constexpr std::uint8_t NonData = 3 << 1;
constexpr std::uint8_t PioDataIn = 4 << 1;
constexpr std::uint8_t OneSectorIn = 0x08 | 0x04 | 0x02; // from the device, in blocks, by the count
constexpr std::uint8_t RegistersWanted = 0x20;           // CK_COND
constexpr std::uint8_t CheckPowerMode = 0xE5;

// Answers of CHECK POWER MODE in the count register.
constexpr std::uint8_t Standby = 0x00;
constexpr std::uint8_t StandbyY = 0x01;

// What a SCSI request can end with.
constexpr unsigned NoConnection = 0x01; // host_status
constexpr unsigned BadTarget = 0x04;
constexpr unsigned DriverSense = 0x08; // driver_status
constexpr unsigned Good = 0x00;        // status
constexpr unsigned CheckCondition = 0x02;

constexpr std::uint8_t NoSense = 0x0; // sense keys
constexpr std::uint8_t RecoveredError = 0x1;
constexpr std::uint8_t NotReady = 0x2;
constexpr std::uint8_t IllegalRequest = 0x5;
constexpr std::uint8_t AbortedCommand = 0xB;

constexpr std::uint8_t AtaError = 0x01; // ATA status register
constexpr std::uint8_t AtaDeviceFault = 0x20;
constexpr std::uint8_t AtaReady = 0x40;

using CommandBlock = std::array<std::uint8_t, 16>;

/// A SCSI request with room for its sense data, and how it ended.
struct Request
{
    CommandBlock block = {};
    std::array<std::uint8_t, 64> sense = {};
    sg_io_hdr_t head = {};

    explicit Request(const CommandBlock& command) : block(command)
    {
        head.interface_id = 'S';
        head.cmdp = block.data();
        head.cmd_len = sizeof(block);
        head.sbp = sense.data();
        head.mx_sb_len = sizeof(sense);
        head.dxfer_direction = SG_DXFER_NONE;
        head.timeout = SgTimeout;
    }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    std::span<const std::uint8_t> Sense() const
    {
        return std::span(sense).first(std::min<std::size_t>(head.sb_len_wr, sense.size()));
    }
};

struct AtaRegisters
{
    std::uint8_t status;
    std::uint8_t count;
};

struct SenseData
{
    std::uint8_t key = 0;
    std::optional<AtaRegisters> registers;
};

/// Reads sense data of the present command, fixed or by descriptors; nothing for any other form.
std::optional<SenseData> DecodeSense(std::span<const std::uint8_t> sense)
{
    constexpr std::size_t HeadBytes = 8; // the last of them is the length of the rest
    if (sense.size() < HeadBytes)
        return std::nullopt;
    sense = sense.first(std::min(sense.size(), HeadBytes + sense[HeadBytes - 1]));
    const unsigned form = sense[0] & 0x7F;
    if (form == 0x70)
    {
        SenseData data{static_cast<std::uint8_t>(sense[2] & 0x0F), std::nullopt};
        // Only "ATA PASS-THROUGH INFORMATION AVAILABLE" says that these bytes are registers.
        if (sense.size() >= 14 && sense[12] == 0x00 && sense[13] == 0x1D)
            data.registers = AtaRegisters{sense[4], sense[6]};
        return data;
    }
    if (form != 0x72)
        return std::nullopt;
    SenseData data{static_cast<std::uint8_t>(sense[1] & 0x0F), std::nullopt};
    const auto descriptors = sense.subspan(HeadBytes);
    for (std::size_t at = 0; at + 1 < descriptors.size();)
    {
        const std::size_t length = descriptors[at + 1] + std::size_t{2};
        constexpr std::uint8_t AtaStatusReturn = 0x09;
        if (descriptors[at] == AtaStatusReturn && length >= 14 && at + 14 <= descriptors.size())
            data.registers = AtaRegisters{descriptors[at + 13], descriptors[at + 5]};
        at += length;
    }
    return data;
}

enum class Outcome
{
    Done,
    Refused, ///< the disk answered that it does not know the command
    Failed
};

/// Sends the request and finds out how it ended. With registers wanted, a success comes as sense.
DWORD Send(DiskPort& port, const CommandFile& file, Request& request, Outcome& outcome,
           std::optional<AtaRegisters>& registers)
{
    outcome = Outcome::Failed;
    if (const int error = port.Send(file, request.head))
        return ErrorOfCall(error);
    const sg_io_hdr_t& head = request.head;
    if (head.host_status == NoConnection || head.host_status == BadTarget)
        return ERROR_NOT_READY;
    if (head.host_status != 0 || (head.driver_status & 0x0Fu & ~DriverSense) != 0)
        return ERROR_IO_DEVICE;
    if (head.status == Good)
    {
        outcome = Outcome::Done;
        return ERROR_SUCCESS;
    }
    const auto sense = DecodeSense(request.Sense());
    if (head.status != CheckCondition || !sense)
        return ERROR_IO_DEVICE;
    if (sense->key == NotReady)
        return ERROR_NOT_READY;
    if ((sense->key == NoSense || sense->key == RecoveredError) && sense->registers &&
        (sense->registers->status & (AtaReady | AtaDeviceFault | AtaError)) == AtaReady)
    {
        registers = sense->registers;
        outcome = Outcome::Done;
        return ERROR_SUCCESS;
    }
    if (sense->key == AbortedCommand || sense->key == IllegalRequest)
        outcome = Outcome::Refused;
    return ERROR_IO_DEVICE;
}

CommandBlock DataIn(std::uint8_t command)
{
    CommandBlock block = {};
    block[0] = PassThrough16;
    block[1] = PioDataIn;
    block[2] = OneSectorIn;
    block[6] = 1; // sectors
    block[14] = command;
    return block;
}

DWORD ReadSector(DiskPort& port, const CommandFile& file, const CommandBlock& block, Sector& page)
{
    // At a multiple of its size the kernel lets the disk write there, and copies nothing.
    alignas(SectorBytes) Sector sector = {};
    Request request(block);
    request.head.dxfer_direction = SG_DXFER_FROM_DEV;
    request.head.dxferp = sector.data();
    request.head.dxfer_len = SectorBytes;
    Outcome outcome = Outcome::Failed;
    std::optional<AtaRegisters> registers;
    const DWORD error = Send(port, file, request, outcome, registers);
    if (error != ERROR_SUCCESS)
        return error;
    if (request.head.resid != 0)
        return ERROR_IO_DEVICE;
    page = sector;
    return ERROR_SUCCESS;
}

} // namespace

DWORD SendIdentify(DiskPort& port, const CommandFile& file, Sector& page)
{
    return ReadSector(port, file, DataIn(ID_CMD), page);
}

DWORD SendSmartReadData(DiskPort& port, const CommandFile& file, Sector& page)
{
    CommandBlock block = DataIn(SMART_CMD);
    block[4] = READ_ATTRIBUTES;
    block[8] = 1;
    block[10] = SMART_CYL_LOW;
    block[12] = SMART_CYL_HI;
    return ReadSector(port, file, block, page);
}

DWORD SendCheckPowerMode(DiskPort& port, const CommandFile& file, bool& isAsleep)
{
    CommandBlock block = {};
    block[0] = PassThrough16;
    block[1] = NonData;
    block[2] = RegistersWanted;
    block[14] = CheckPowerMode;
    Request request(block);
    Outcome outcome = Outcome::Failed;
    std::optional<AtaRegisters> registers;
    const DWORD error = Send(port, file, request, outcome, registers);
    if (error != ERROR_SUCCESS && outcome != Outcome::Refused)
        return error;
    isAsleep = registers && (registers->count == Standby || registers->count == StandbyY);
    return ERROR_SUCCESS;
}

} // namespace Platform
