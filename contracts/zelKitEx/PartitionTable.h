#pragma once

#include "contracts/Export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ZKTX
{

/// One partition. Texts may hold any bytes.
struct CSystemPartition
{
    std::string m_Text1;         ///< where it is mounted
    std::uint64_t m_Number1 = 0; ///< start, bytes from the beginning of the disk
    std::uint64_t m_Number2 = 0; ///< size in bytes
    std::string m_Text2;         ///< file system, such as "ext4"
    std::string m_Text3;         ///< label of the file system
    std::int32_t m_Index = 0;    ///< number in the partition table
    std::string m_Text4;         ///< type in the partition table
    std::string m_Text5;         ///< UUID of the partition
    std::string m_Text6;         ///< state, as far as the machine tells one
    std::string m_PartitionName; ///< unique on the host
};

/// The partitions of one disk, as the machine knows them at the moment of the call.
class ZELKITEX_API CSystemPartitionTable
{
  public:
    /// @param osDevice  "Disk %d" with the disk number; any other text names a disk without
    ///                  partitions
    explicit CSystemPartitionTable(const std::string& osDevice);

    /// Replaces the vector's content. A disk that cannot be asked has no partitions.
    /// @throws std::bad_alloc without memory or descriptors to ask it
    void GetPartitions(std::vector<CSystemPartition>& partitions) const;

  private:
    std::string m_OSDevice;
};

} // namespace ZKTX
