#include "contracts/zelKitEx/PartitionTable.h"

#include "platform/Machine.h"

#include <charconv>
#include <string_view>

namespace ZKTX
{
namespace
{

bool DiskNumberOf(std::string_view osDevice, std::uint32_t& number)
{
    constexpr std::string_view prefix = "Disk ";
    if (!osDevice.starts_with(prefix))
        return false;
    osDevice.remove_prefix(prefix.size());
    const char* end = osDevice.data() + osDevice.size();
    const auto [rest, error] = std::from_chars(osDevice.data(), end, number);
    return error == std::errc() && rest == end;
}

} // namespace

CSystemPartitionTable::CSystemPartitionTable(const std::string& osDevice) : m_OSDevice(osDevice) {}

void CSystemPartitionTable::GetPartitions(std::vector<CSystemPartition>& partitions) const
{
    partitions.clear();
    std::uint32_t number = 0;
    if (DiskNumberOf(m_OSDevice, number) &&
        !Platform::CurrentMachine().Partitions(number, partitions))
        partitions.clear();
}

} // namespace ZKTX
