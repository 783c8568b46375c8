// A drive's row in the shared database, and the rows of its partitions.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/RowOperation.h"
#include "tarnis/Src/tarnisPhysicalDrive/EndOfLife.h"
#include "tarnis/Src/tarnisPhysicalDrive/PartitionRows.h"
#include "tarnis/Src/tarnisPlugin/Identity.h"
#include "vocabulary/Names.h"

#include <algorithm>

namespace NAMESPACE_tarnis
{
namespace
{

using DatabaseORM::And;
using DatabaseORM::ConditionText;
using DatabaseORM::Equal;
using DatabaseORM::SafeModel;
using RaidDataModels::Partition;
using RaidDataModels::PD;

constexpr std::uint32_t FullPercent = 100;

auto IsDriveRow(const CAHCIPhysicalDrive& drive)
{
    return And{And{Equal(&PD::globalAdapterNumber, drive.m_GlobalAdapterNumber),
                   Equal(&PD::hostName, RowHost)},
               Equal(&PD::deviceNumber, drive.m_DeviceNumber)};
}

auto IsPartitionOf(const CAHCIPhysicalDrive& drive)
{
    return Equal(&Partition::driveUniqueId, ConditionText(drive.m_UniqueID));
}

/// Names no drive: a partition's name is unique on its host.
auto IsPartitionRow(const Partition& row)
{
    return And{And{Equal(&Partition::partitionName, ConditionText(row.partitionName)),
                   Equal(&Partition::hostName, ConditionText(row.hostName))},
               Equal(&Partition::globalAdapterNumber, row.globalAdapterNumber)};
}

void SetHealth(PD& row, const CAHCIPhysicalDrive& drive)
{
    if (drive.m_Temperature != 0)
        row.temperature = drive.m_Temperature;
    if (drive.m_RemainingReserve != NoReading32)
        row.remainingReserveSpace = std::min(drive.m_RemainingReserve, FullPercent);
    if (drive.m_RatedEndurancePercent != NoReading32)
        row.ratedEndurancePercent = row.ratedEndurancePercentCopy =
            static_cast<std::int32_t>(std::min(drive.m_RatedEndurancePercent, FullPercent));
    row.writtenVolume = static_cast<double>(drive.m_BytesWritten >> 10);
    if (drive.m_PowerOnHours != 0)
        row.powerOnHours = static_cast<std::int32_t>(drive.m_PowerOnHours);
    if (drive.m_RemainingLifeTimeHours != NoReading64)
        row.endOfLifeDate = EndOfLifeDate(drive.m_RemainingLifeTimeHours);
}

/// Lets out what the database throws.
void WritePartitionRow(DatabaseORM::storage_t& database, const PartitionChange& change)
{
    const std::string& name = change.row.partitionName;
    switch (change.step)
    {
    case PartitionStep::UPDATE:
        database.update(SafeModel(change.row));
        [[fallthrough]];
    case PartitionStep::KEEP:
        Trace(TRACE_DATABASE, "AHCI Partition (%s on localhost) updated in db.", name);
        break;
    case PartitionStep::INSERT:
        database.insert(SafeModel(change.row));
        Trace(TRACE_DATABASE, "AHCI Partition (%s on localhost) inserted to db.", name);
        break;
    case PartitionStep::REMOVE:
        database.remove<Partition>(IsPartitionRow(change.row));
        Trace(TRACE_DATABASE, "AHCI Partition (%s on localhost) removed from db.", name);
        break;
    }
}

} // namespace

PI::_ERROR_CODE IPLUGINAPI_IMPL::SetDatabaseObjectProperties(PD& row,
                                                             const CAHCIPhysicalDrive& drive) const
{
    Trace(TRACE_FLOW, "ENTER SetDatabaseObjectProperties (PhysicalDisk) ()");
    row = PD();
    row.globalAdapterNumber = drive.m_GlobalAdapterNumber;
    row.objectId = drive.GetID();
    row.hostName = RowHost;
    row.displayName = drive.m_Name;
    row.portNumber = 0;
    row.deviceNumber = row.deviceNumberCopy = drive.m_DeviceNumber;
    row.uniqueId = drive.m_UniqueID;
    row.vendorName = drive.m_Vendor;
    row.productName = drive.m_Product;
    row.typeName = "SATA";
    row.firmwareVersion = drive.m_FirmwareVersion;
    row.serialNumber = drive.m_SerialNumber;
    row.physicalSize = row.configurableSize = drive.m_SizeMB;
    row.statusName = valueName(drive.m_Status);
    row.osDevice = drive.m_OSDevice;
    if (drive.GetType() == PI::OBJECT_PHYSICAL_DRIVE)
        row.mediaTypeName = valueName(drive.m_MediaType);
    SetHealth(row, drive);
    return PI::ERR_SUCCESS;
}

void IPLUGINAPI_IMPL::InsertDriveRow(const CAHCIPhysicalDrive& drive)
{
    RunRowOperation(
        m_RowsInStep, [&] { m_Database->insert(SafeModel(RowOf<PD>(drive))); },
        {"PD (%s) (%d) inserted to db.",
         "Exception thrown during inserting PD (%s) (%d) to db. (%s)"},
        drive.m_Name, drive.m_DeviceNumber);
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::ReadPartitions(const CAHCIPhysicalDrive& drive,
                                                std::vector<Partition>& rows)
{
    return RunRowOperation(
        m_RowsInStep, [&] { rows = SystemPartitionRows(drive); },
        {nullptr, "partitions of PD (%s) (%d) not read (%s)"}, drive.m_Name, drive.m_DeviceNumber);
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::InsertObjectToDatabase(const CAHCIPhysicalDrive& drive)
{
    InsertDriveRow(drive);
    if (drive.m_OSDevice.empty())
        return PI::ERR_SUCCESS;
    std::vector<Partition> rows;
    ReadPartitions(drive, rows);
    for (const Partition& row : rows)
        RunRowOperation(
            m_RowsInStep, [&] { m_Database->insert(SafeModel(row)); },
            {"AHCI Partition ( %s on localhost ) inserted to db.",
             "Storage query exception thrown during inserting localhost AHCI partition (%s) to DB. "
             "(%s)"},
            row.partitionName);
    return PI::ERR_SUCCESS;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::UpdateDriveRow(const CAHCIPhysicalDrive& drive)
{
    try
    {
        const std::vector<PD> rows = m_Database->select<PD>(IsDriveRow(drive));
        if (!rows.empty())
        {
            auto row = RowOf<PD>(drive);
            row.id = rows.front().id;
            m_Database->update(SafeModel(std::move(row)));
            Trace(TRACE_DATABASE, "PD (%s) (%d) entry updated in DB.", drive.m_Name,
                  drive.m_DeviceNumber);
        }
        else if (m_RowsInStep.catchUp)
            InsertDriveRow(drive);
        else
            m_RowsInStep.behind = true;
        return PI::ERR_SUCCESS;
    }
    catch (const DBEXCEPTION::DatabaseException& failure)
    {
        m_RowsInStep.behind = true;
        Trace(TRACE_DATABASE,
              "Storage query exception thrown during updating PD (%s) (%d) in DB. (%s)",
              drive.m_Name, drive.m_DeviceNumber, failure.what());
        return PI::ERR_SUCCESS;
    }
    catch (const std::exception& failure)
    {
        m_RowsInStep.behind = true;
        Trace(TRACE_FLOW, "UpdateObjectInDatabase(CAHCIPhysicalDrive &pd) -> std::exception %s",
              failure.what());
        return PI::ERR_GENERAL;
    }
}

std::size_t IPLUGINAPI_IMPL::CountPartitionRows(const CAHCIPhysicalDrive& drive)
{
    std::size_t count = 0;
    RunRowOperation(
        m_RowsInStep,
        [&] {
            count =
                m_Database->selectColumn<Partition>(&Partition::id, IsPartitionOf(drive)).size();
        },
        {nullptr, "Storage query exception thrown during updating AHCI partitions in db. (%s)"});
    return count;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::UpdateObjectInDatabase(const CAHCIPhysicalDrive& drive)
{
    const PI::_ERROR_CODE result = UpdateDriveRow(drive);
    if (drive.m_OSDevice.empty())
        return result;
    std::vector<Partition> system;
    if (const PI::_ERROR_CODE error = ReadPartitions(drive, system); error != PI::ERR_SUCCESS)
        return error; // an empty list would tell of no partitions
    if (CountPartitionRows(drive) == 0 && system.empty())
        return result;

    const bool removeFirst = m_RowsInStep.catchUp;
    std::string name; // of the partition in hand; empty while the rows are read
    const PI::_ERROR_CODE partitions = RunRowOperation(
        m_RowsInStep,
        [&]
        {
            std::vector<PartitionChange> changes =
                ReconcilePartitions(system, m_Database->select<Partition>(IsPartitionOf(drive)));
            // A name that went to another drive is free only when its row is gone. Two drives that
            // change names would else stand in each other's way for ever.
            if (removeFirst)
                std::stable_partition(changes.begin(), changes.end(),
                                      [](const PartitionChange& change)
                                      { return change.step == PartitionStep::REMOVE; });
            for (const PartitionChange& change : changes)
            {
                name = change.row.partitionName;
                WritePartitionRow(*m_Database, change);
            }
        },
        {nullptr, "Storage query exception thrown during updating AHCI Partition (%s on localhost) "
                  "in db. (%s)"},
        name);
    return partitions == PI::ERR_SUCCESS ? result : partitions;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::DeleteObjectFromDatabase(const CAHCIPhysicalDrive& drive)
{
    // The rows of its partitions go with it, by their foreign key.
    RunRowOperation(
        m_RowsInStep, [&] { m_Database->remove<PD>(IsDriveRow(drive)); },
        {"PD (%s) (%d) removed from DB.",
         "Storage query exception thrown during removing PD (%s) (%d) from DB. (%s)"},
        drive.m_Name, drive.m_DeviceNumber);
    return PI::ERR_SUCCESS;
}

void IPLUGINAPI_IMPL::RemoveStaleDriveRows(const CAHCIAdapter& adapter)
{
    std::vector<PD> rows;
    RunRowOperation(
        m_RowsInStep,
        [&]
        {
            rows = m_Database->select<PD>(
                And{Equal(&PD::globalAdapterNumber, adapter.m_GlobalAdapterNumber),
                    Equal(&PD::hostName, RowHost)});
        },
        {nullptr,
         "Storage query exception thrown during looking for rows of removed PDs in DB. (%s)"});
    for (const PD& row : rows)
    {
        if (m_DrivesGone.count(row.deviceNumber) == 0 && !m_DisksOfTree.Lacks(row.deviceNumber))
            continue;
        CAHCIPhysicalDrive gone;
        gone.m_AdapterNumber = adapter.m_AdapterNumber;
        gone.m_GlobalAdapterNumber = row.globalAdapterNumber;
        gone.m_DeviceNumber = row.deviceNumber;
        gone.m_Name = row.displayName;
        if (FindSame(m_PhysicalDrives, gone) == nullptr)
            DeleteObjectFromDatabase(gone);
    }
}

} // namespace NAMESPACE_tarnis
