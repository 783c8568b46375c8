// A machine of disks that a test changes between two walks, without a file to parse.
#pragma once

#include "platform/Machine.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Support
{

struct MemoryDisk
{
    std::string serial;
    std::uint8_t wear = 0; ///< percent, as attribute 202
    std::uint8_t temperature = 30;
    bool partitioned = false;
};

class MemoryMachine : public Platform::Machine
{
  public:
    using Disks = std::map<DWORD, MemoryDisk>;

    void Set(const Disks& disks)
    {
        const std::lock_guard guard(m_Lock);
        m_Disks = disks;
    }

    std::shared_ptr<const Platform::DeviceTree> ReadDeviceTree() override;
    DWORD OpenDevice(const std::string& path, bool writable,
                     std::unique_ptr<Platform::Device>& device) override;
    bool ModuleVersion(const std::string&, std::string&) override { return false; }
    bool Partitions(DWORD number, std::vector<ZKTX::CSystemPartition>& partitions) override;

  private:
    std::mutex m_Lock;
    Disks m_Disks;
};

} // namespace Support
