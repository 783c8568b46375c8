#include "platform/windows/WindowsMachine.h"

#include "platform/DriveControl.h"
#include "platform/Shortage.h"
#include "platform/windows/DeviceTreeReader.h"
#include "platform/windows/DriveLayout.h"
#include "platform/windows/DriverVersion.h"
#include "platform/windows/SystemCall.h"
#include "platform/windows/Volumes.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

namespace Platform
{

namespace
{

DWORD AskDiskNumber(const SystemHandle& handle, DWORD& number)
{
    STORAGE_DEVICE_NUMBER answer = {};
    const DWORD error = AskDevice(handle, IOCTL_STORAGE_GET_DEVICE_NUMBER, answer);
    if (error == ERROR_SUCCESS)
        number = answer.DeviceNumber;
    return error;
}

class WindowsDevice : public Device
{
  public:
    WindowsDevice(SystemHandle handle, DWORD number) : m_Handle(std::move(handle)), m_Number(number)
    {
    }

    DWORD DiskNumber(DWORD& number) override { return AskDiskNumber(m_Handle, number); }

    DWORD SmartVersion() override
    {
        // That it succeeds is the answer, however much of it there is.
        GETVERSIONINPARAMS answer = {};
        DWORD written = 0;
        return CallDevice(m_Handle, SMART_GET_VERSION, nullptr, 0, &answer, sizeof answer, written);
    }

    DWORD Identify(Sector& page) override
    {
        IDEREGS registers = {};
        registers.bCommandReg = ID_CMD;
        return ReceiveDriveData(registers, page);
    }

    DWORD SmartData(Sector& page) override
    {
        IDEREGS registers = {};
        registers.bFeaturesReg = READ_ATTRIBUTES;
        registers.bCylLowReg = SMART_CYL_LOW;
        registers.bCylHighReg = SMART_CYL_HI;
        registers.bCommandReg = SMART_CMD;
        return ReceiveDriveData(registers, page);
    }

    DWORD Length(std::uint64_t& bytes) override
    {
        GET_LENGTH_INFORMATION answer = {};
        const DWORD error = AskDevice(m_Handle, IOCTL_DISK_GET_LENGTH_INFO, answer);
        if (error == ERROR_SUCCESS)
            bytes = static_cast<std::uint64_t>(answer.Length.QuadPart);
        return error;
    }

  private:
    /// One block serves both ways, as the driver has it.
    DWORD ReceiveDriveData(IDEREGS registers, Sector& page)
    {
        constexpr BYTE EitherDrive = 0xA0;
        registers.bSectorCountReg = 1;
        registers.bSectorNumberReg = 1;
        registers.bDriveHeadReg = EitherDrive;
        SENDCMDINPARAMS request = {};
        request.cBufferSize = SectorBytes;
        request.irDriveRegs = registers;
        request.bDriveNumber = static_cast<BYTE>(m_Number);
        std::array<BYTE, sizeof(SENDCMDINPARAMS) + SectorBytes> block = {};
        std::memcpy(block.data(), &request, sizeof request);
        DWORD written = 0;
        const DWORD error = CallDevice(m_Handle, SMART_RCV_DRIVE_DATA, block.data(), sizeof request,
                                       block.data(), static_cast<DWORD>(block.size()), written);
        if (error == ERROR_SUCCESS)
            std::memcpy(page.data(), block.data() + ReplyDataOffset, page.size());
        return error;
    }

    SystemHandle m_Handle;
    DWORD m_Number;
};

/// Puts what stands on a volume to the partition that holds a part of it.
void AddContent(const Volume& volume, DWORD diskNumber, ZKTX::CSystemPartition& partition)
{
    for (const VolumeExtent& extent : volume.extents)
    {
        if (extent.diskNumber != diskNumber || extent.start < partition.m_Number1 ||
            extent.start - partition.m_Number1 >= partition.m_Number2)
            continue;
        partition.m_Text1 = volume.mountPoint;
        partition.m_Text2 = volume.fileSystem;
        partition.m_Text3 = volume.label;
        if (volume.isReadOnly)
            partition.m_Text6 = "read-only";
    }
}

static_assert(offsetof(DRIVE_LAYOUT_INFORMATION_EX, PartitionEntry) == 48);
static_assert(sizeof(PARTITION_INFORMATION_EX) == 144);
static_assert(IOCTL_DISK_GET_DRIVE_LAYOUT_EX == 0x00070050);

bool ReadDriveLayout(DWORD diskNumber, std::vector<BYTE>& answer)
{
    SystemHandle disk;
    DWORD error = OpenSystemFile("\\\\.\\PhysicalDrive" + std::to_string(diskNumber), 0, disk);
    if (error == ERROR_SUCCESS)
        error = AskDevice(disk, IOCTL_DISK_GET_DRIVE_LAYOUT_EX, answer);
    ThrowShortage(error);
    return error == ERROR_SUCCESS;
}

} // namespace

void RefusedDisks::Note(const std::string& disk)
{
    const std::lock_guard guard(m_Lock);
    m_Disks.insert(disk);
}

void RefusedDisks::Clear(const std::string& disk)
{
    const std::lock_guard guard(m_Lock);
    m_Disks.erase(disk);
}

void RefusedDisks::ClearAll()
{
    const std::lock_guard guard(m_Lock);
    m_Disks.clear();
}

std::string RefusedDisks::Tell() const
{
    constexpr std::size_t Most = 8;
    const std::lock_guard guard(m_Lock);
    if (m_Disks.empty())
        return {};
    std::string names;
    std::size_t told = 0;
    for (const std::string& disk : m_Disks)
        if (told++ < Most)
            names += (names.empty() ? "" : ", ") + disk;
    if (told > Most)
        names += " and " + std::to_string(told - Most) + " more";
    return names + " cannot be read: the right to open a disk is missing; run as administrator, "
                   "elevated";
}

std::shared_ptr<const DeviceTree> WindowsMachine::ReadDeviceTree()
{
    // Whoever walks the tree opens its disks next; those that went are not refused any more.
    m_Refused.ClearAll();
    return ReadSystemTree();
}

DWORD WindowsMachine::OpenDevice(const std::string& path, bool writable,
                                 std::unique_ptr<Device>& device)
{
    SystemHandle handle;
    const DWORD error =
        OpenSystemFile(path, writable ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ, handle);
    if (error == ERROR_ACCESS_DENIED)
    {
        DWORD number = 0;
        const auto known =
            DiskNumberOfPath(path, number) ? std::optional(number) : NumberOfInterface(path);
        m_Refused.Note(known ? "disk" + std::to_string(*known) : path);
    }
    if (error != ERROR_SUCCESS)
        return error;
    DWORD number = 0;
    if (DiskNumberOfPath(path, number) || AskDiskNumber(handle, number) == ERROR_SUCCESS)
        m_Refused.Clear("disk" + std::to_string(number));
    device = std::make_unique<WindowsDevice>(std::move(handle), number);
    return ERROR_SUCCESS;
}

std::optional<DWORD> WindowsMachine::NumberOfInterface(const std::string& path)
{
    // It may be asked without any right.
    SystemHandle handle;
    DWORD number = 0;
    return OpenSystemFile(path, 0, handle) == ERROR_SUCCESS &&
                   AskDiskNumber(handle, number) == ERROR_SUCCESS
               ? std::optional(number)
               : std::nullopt;
}

bool WindowsMachine::ModuleVersion(const std::string& service, std::string& version)
{
    return ReadDriverVersion(service, version);
}

bool WindowsMachine::Partitions(DWORD diskNumber, std::vector<ZKTX::CSystemPartition>& partitions)
{
    std::vector<BYTE> layout;
    if (!ReadDriveLayout(diskNumber, layout))
        return false;
    std::vector<ZKTX::CSystemPartition> found = ReadLayout(diskNumber, layout);
    if (!found.empty())
        for (const Volume& volume : VolumesOn(diskNumber))
            for (ZKTX::CSystemPartition& partition : found)
                AddContent(volume, diskNumber, partition);
    partitions.insert(partitions.end(), found.begin(), found.end());
    return true;
}

std::shared_ptr<Machine> ThisComputer()
{
    return std::make_shared<WindowsMachine>();
}

} // namespace Platform
