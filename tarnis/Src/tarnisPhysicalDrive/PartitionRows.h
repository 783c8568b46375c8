// What the rows of a drive's partitions lack to be what the system says: decided here, written by
// the caller.
#pragma once

#include "database/Models.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrive.h"

#include <string>
#include <vector>

namespace NAMESPACE_tarnis
{

/// The rows of all partitions that the system says the drive has, in its order. Texts and numbers
/// are what the database can keep of them, so that they compare equal to what is read back.
std::vector<RaidDataModels::Partition> SystemPartitionRows(const CAHCIPhysicalDrive& drive);

enum class PartitionStep
{
    KEEP, ///< the row is right as it stands
    UPDATE,
    INSERT,
    REMOVE,
};

struct PartitionChange
{
    PartitionStep step;
    RaidDataModels::Partition row;
};

/// Compares by partition name alone: first what the system has, in its order, then the stored rows
/// that it no longer has.
std::vector<PartitionChange>
ReconcilePartitions(const std::vector<RaidDataModels::Partition>& system,
                    std::vector<RaidDataModels::Partition> stored);

} // namespace NAMESPACE_tarnis
