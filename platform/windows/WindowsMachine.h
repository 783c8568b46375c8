// This computer, by the calls of Windows itself.
#pragma once

#include "platform/Machine.h"

#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace Platform
{

/// The disks that could not be opened for want of a right, by what people call them. Safe from any
/// thread.
class RefusedDisks
{
  public:
    void Note(const std::string& disk);
    void Clear(const std::string& disk);
    void ClearAll();
    std::string Tell() const;

  private:
    mutable std::mutex m_Lock;
    std::set<std::string> m_Disks;
};

class WindowsMachine : public Machine
{
  public:
    std::shared_ptr<const DeviceTree> ReadDeviceTree() override;
    DWORD OpenDevice(const std::string& path, bool writable,
                     std::unique_ptr<Device>& device) override;
    std::optional<DWORD> NumberOfInterface(const std::string& path) override;
    bool ModuleVersion(const std::string& service, std::string& version) override;
    bool Partitions(DWORD diskNumber, std::vector<ZKTX::CSystemPartition>& partitions) override;
    std::string MissingRight() override { return m_Refused.Tell(); }

  private:
    RefusedDisks m_Refused;
};

} // namespace Platform
