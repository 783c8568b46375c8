#include "tarnis/Src/tarnisPhysicalDrive/PartitionRows.h"

#include "contracts/zelKitEx.h"
#include "tarnis/Src/tarnis/RowOperation.h"

#include <algorithm>

namespace NAMESPACE_tarnis
{
namespace
{

using DatabaseORM::KeptNumber;
using DatabaseORM::KeptText;
using RaidDataModels::Partition;

/// The first row of a name, or null.
template <class Rows> auto FindName(Rows& rows, const std::string& name)
{
    const auto found =
        std::find_if(rows.begin(), rows.end(),
                     [&name](const Partition& row) { return row.partitionName == name; });
    return found == rows.end() ? nullptr : &*found;
}

/// Copies what differs into the stored row. False when nothing does.
bool TakeOver(const Partition& system, Partition& stored)
{
    bool changed = false;
    const auto take = [&](auto... members)
    {
        const auto one = [&](auto member)
        {
            if (stored.*member == system.*member)
                return;
            stored.*member = system.*member;
            changed = true;
        };
        (one(members), ...);
    };
    take(&Partition::partText6, &Partition::partText4, &Partition::partText1,
         &Partition::partNumber1, &Partition::partNumber2, &Partition::partText2,
         &Partition::partText3, &Partition::partIndex, &Partition::partText5);
    return changed;
}

Partition MakePartitionRow(const CAHCIPhysicalDrive& drive, const ZKTX::CSystemPartition& partition)
{
    Partition row;
    row.id = -1;
    row.globalAdapterNumber = drive.m_GlobalAdapterNumber;
    row.hostName = RowHost;
    row.driveUniqueId = drive.m_UniqueID;
    row.partText1 = KeptText(partition.m_Text1);
    row.partNumber1 = KeptNumber(partition.m_Number1);
    row.partNumber2 = KeptNumber(partition.m_Number2);
    row.partText2 = KeptText(partition.m_Text2);
    row.partText3 = KeptText(partition.m_Text3);
    row.partIndex = partition.m_Index;
    row.partText4 = KeptText(partition.m_Text4);
    row.partText5 = KeptText(partition.m_Text5);
    row.partText6 = KeptText(partition.m_Text6);
    row.partitionName = KeptText(partition.m_PartitionName);
    return row;
}

} // namespace

std::vector<Partition> SystemPartitionRows(const CAHCIPhysicalDrive& drive)
{
    std::vector<ZKTX::CSystemPartition> partitions;
    ZKTX::CSystemPartitionTable(drive.m_OSDevice).GetPartitions(partitions);
    std::vector<Partition> rows;
    rows.reserve(partitions.size());
    for (const ZKTX::CSystemPartition& partition : partitions)
        rows.push_back(MakePartitionRow(drive, partition));
    return rows;
}

std::vector<PartitionChange> ReconcilePartitions(const std::vector<Partition>& system,
                                                 std::vector<Partition> stored)
{
    std::vector<PartitionChange> changes;
    for (const Partition& partition : system)
    {
        Partition* row = FindName(stored, partition.partitionName);
        if (row == nullptr)
            changes.push_back({PartitionStep::INSERT, partition});
        else if (TakeOver(partition, *row))
            changes.push_back({PartitionStep::UPDATE, *row});
        else
            changes.push_back({PartitionStep::KEEP, *row});
    }
    for (const Partition& row : stored)
        if (FindName(system, row.partitionName) == nullptr)
            changes.push_back({PartitionStep::REMOVE, row});
    return changes;
}

} // namespace NAMESPACE_tarnis
