#include "platform/linux/LinuxMachine.h"

#include "platform/DeviceNames.h"
#include "platform/linux/SystemDisk.h"
#include "platform/linux/SystemState.h"

#include <chrono>
#include <utility>

namespace Platform
{

LinuxMachine::LinuxMachine(SystemFolders folders, std::shared_ptr<DiskPort> port)
    : m_State(std::make_shared<SystemState>(std::move(folders), std::move(port)))
{
}

LinuxMachine::~LinuxMachine() = default;

std::shared_ptr<const DeviceTree> LinuxMachine::ReadDeviceTree()
{
    const auto before = m_State->tables.Last();
    const auto picture = m_State->tables.Refresh(std::chrono::steady_clock::now());
    if (picture != before)
        m_State->contents.Keep(*picture);
    return picture->tree;
}

DWORD LinuxMachine::OpenDevice(const std::string& path, bool writable,
                               std::unique_ptr<Device>& device)
{
    const auto picture = m_State->tables.Last();
    DWORD number = 0;
    if (!DiskNumberOfPath(path, number))
    {
        const auto named = NumberOfInterface(path);
        if (!named)
            return ERROR_FILE_NOT_FOUND;
        number = *named;
    }
    const auto found = picture->disks.find(number);
    if (found == picture->disks.end())
        return ERROR_FILE_NOT_FOUND;
    // Whoever opens for reading alone wants the number, which is known.
    return OpenSystemDisk(m_State, number, found->second, writable, device);
}

std::optional<DWORD> LinuxMachine::NumberOfInterface(const std::string& path)
{
    const auto picture = m_State->tables.Last();
    const auto found = FindFolded(picture->interfaces, path);
    return found == picture->interfaces.end() ? std::nullopt : std::optional(found->second);
}

std::string LinuxMachine::DiskName(DWORD number)
{
    const auto picture = m_State->tables.Last();
    const auto found = picture->disks.find(number);
    return found == picture->disks.end() ? std::string() : found->second->whole.name;
}

bool LinuxMachine::ModuleVersion(const std::string& service, std::string& version)
{
    const std::string driver = DriverOfService(service);
    if (driver.empty() || driver.find('/') != std::string::npos || driver.front() == '.')
        return false;
    const std::string& sys = m_State->folders.sys;
    auto text = ReadAttribute(sys + "/module/" + driver + "/version");
    // A driver of the kernel's own need not have a version of its own.
    if (!text && !ListFolder(sys + "/bus/pci/drivers/" + driver).empty())
        text = ReadAttribute(m_State->folders.proc + "/sys/kernel/osrelease");
    version = text.value_or("");
    return text.has_value();
}

bool LinuxMachine::Partitions(DWORD diskNumber, std::vector<ZKTX::CSystemPartition>& partitions)
{
    const auto picture = m_State->tables.Last();
    const auto found = picture->disks.find(diskNumber);
    if (found == picture->disks.end())
        return false;
    const auto now = std::chrono::steady_clock::now();
    m_State->contents.AppendPartitions(found->second, m_State->tables.Mounts(now), now, partitions);
    return true;
}

std::shared_ptr<Machine> ThisComputer()
{
    return std::make_shared<LinuxMachine>();
}

std::string LinuxMachine::MissingRight()
{
    const std::string status =
        ReadSystemFile(m_State->folders.proc + "/self/status", 1 << 16).value_or("");
    return m_State->rights.Tell(*m_State->tables.Last(), HasRawIo(status));
}

} // namespace Platform
