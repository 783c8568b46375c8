// This computer: disks behind the kernel's drivers.
#pragma once

#include "platform/Machine.h"
#include "platform/linux/DiskPort.h"
#include "platform/linux/SystemFiles.h"

#include <memory>
#include <string>
#include <vector>

namespace Platform
{

struct SystemState;

/// The device tree comes from sysfs, identity and SMART data from the disks by ATA commands, the
/// partitions from the kernel's tables and libblkid. Files are opened for reading alone.
///
/// A disk that sleeps is not woken: it answers SMART READ DATA with the last page that was read
/// from it, as long as its power mode says so. One that the kernel has suspended is not even
/// opened; it tells its identity as the kernel keeps it.
///
/// No lock is held while a disk answers.
class PLATFORM_API LinuxMachine : public Machine
{
  public:
    explicit LinuxMachine(SystemFolders folders = {},
                          std::shared_ptr<DiskPort> port = std::make_shared<DiskPort>());
    ~LinuxMachine() override;

    std::shared_ptr<const DeviceTree> ReadDeviceTree() override;
    DWORD OpenDevice(const std::string& path, bool writable,
                     std::unique_ptr<Device>& device) override;
    /// The version text of the kernel's module; for modules without one, the kernel's release.
    std::optional<DWORD> NumberOfInterface(const std::string& path) override;
    std::string DiskName(DWORD number) override;
    bool ModuleVersion(const std::string& service, std::string& version) override;
    bool Partitions(DWORD diskNumber, std::vector<ZKTX::CSystemPartition>& partitions) override;
    std::string MissingRight() override;

  private:
    std::shared_ptr<SystemState> m_State;
};

} // namespace Platform
