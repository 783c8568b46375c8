#include "tests/support/MemoryMachine.h"

#include <cstdlib>

namespace Support
{
namespace
{

using Platform::DeviceNode;
using Platform::Sector;

const std::string InterfacePrefix = "\\\\?\\disk#";

class OpenDisk : public Platform::Device
{
  public:
    OpenDisk(DWORD number, const MemoryDisk& disk) : m_Number(number), m_Disk(disk) {}

    DWORD DiskNumber(DWORD& number) override
    {
        number = m_Number;
        return ERROR_SUCCESS;
    }
    DWORD SmartVersion() override { return ERROR_SUCCESS; }
    DWORD Identify(Sector& page) override
    {
        page = {};
        page[0] = 0x40;
        PutText(page, 10, 10, m_Disk.serial);
        PutText(page, 23, 4, "FW1");
        PutText(page, 27, 20, "CRUCIAL CT480MX500SSD1");
        return ERROR_SUCCESS;
    }
    DWORD SmartData(Sector& page) override
    {
        page = {};
        page[2] = 194;
        page[2 + 5] = m_Disk.temperature;
        page[14] = 202; // the endurance used, of this model
        page[14 + 5] = m_Disk.wear;
        return ERROR_SUCCESS;
    }
    DWORD Length(std::uint64_t& bytes) override
    {
        bytes = 1ULL << 40;
        return ERROR_SUCCESS;
    }

  private:
    static void PutText(Sector& page, std::size_t first, std::size_t words, std::string text)
    {
        text.resize(2 * words, ' ');
        for (std::size_t i = 0; i < text.size(); ++i)
            page[2 * first + (i ^ 1)] = static_cast<std::uint8_t>(text[i]);
    }

    DWORD m_Number;
    MemoryDisk m_Disk;
};

} // namespace

std::shared_ptr<const Platform::DeviceTree> MemoryMachine::ReadDeviceTree()
{
    const std::lock_guard guard(m_Lock);
    auto tree = std::make_shared<Platform::DeviceTree>(2);
    (*tree)[0].id = "ROOT";
    (*tree)[0].firstChild = 1;
    (*tree)[1].id = "CONTROLLER";
    (*tree)[1].service = "storahci";
    (*tree)[1].parent = 0;
    for (const auto& [number, disk] : m_Disks)
    {
        const std::size_t position = tree->size();
        ((*tree)[1].firstChild == DeviceNode::None ? (*tree)[1].firstChild
                                                   : tree->back().nextSibling) = position;
        DeviceNode node;
        node.id = "DISK" + std::to_string(number);
        node.service = "disk";
        node.diskInterfaces = {InterfacePrefix + std::to_string(number)};
        node.parent = 1;
        tree->push_back(node);
    }
    return tree;
}

DWORD MemoryMachine::OpenDevice(const std::string& path, bool,
                                std::unique_ptr<Platform::Device>& device)
{
    const std::lock_guard guard(m_Lock);
    DWORD number = 0;
    if (path.starts_with(InterfacePrefix))
        number =
            static_cast<DWORD>(std::strtoul(path.c_str() + InterfacePrefix.size(), nullptr, 10));
    else if (!Platform::DiskNumberOfPath(path, number))
        return ERROR_FILE_NOT_FOUND;
    const auto disk = m_Disks.find(number);
    if (disk == m_Disks.end())
        return ERROR_FILE_NOT_FOUND;
    device = std::make_unique<OpenDisk>(number, disk->second);
    return ERROR_SUCCESS;
}

bool MemoryMachine::Partitions(DWORD number, std::vector<ZKTX::CSystemPartition>& partitions)
{
    const std::lock_guard guard(m_Lock);
    const auto disk = m_Disks.find(number);
    if (disk == m_Disks.end())
        return false;
    if (disk->second.partitioned)
        partitions.emplace_back();
    return true;
}

} // namespace Support
