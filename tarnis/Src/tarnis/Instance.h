// The instance: one object that holds all state of the plug-in.
//
// Threads: any number of host threads come through Command; the worker is the only other thread.
// Locks: m_DataLock guards the records and lists, m_EventsLock the queue. Where both are held,
// m_DataLock was taken first. Commands 4 to 10 hold m_DataLock for their whole length and the
// worker for the whole of a pass, so that the two exclude each other.
#pragma once

#include "contracts/PluginInterface.h"
#include "contracts/ThreadSafety.h"
#include "contracts/zelKit.h"
#include "contracts/zelKitEx.h"
#include "contracts/zelPlug.h"
#include "contracts/zelStore.h"
#include "tarnis/Src/tarnis/RowOperation.h"
#include "tarnis/Src/tarnis/SourceLocation.h"
#include "tarnis/Src/tarnisAdapter/Adapter.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrive.h"
#include "tarnis/Src/tarnisPlugin/DisksOfTree.h"
#include "tarnis/Src/tarnisPlugin/KnownDrives.h"
#include "tarnis/Src/tarnisPlugin/Plugin.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace NAMESPACE_tarnis
{

class IPLUGINAPI_IMPL : public IPLUGINAPI
{
  public:
    /// Reads both settings files and takes the database. Locks and events become usable in
    /// Initialize.
    IPLUGINAPI_IMPL();
    /// Ends no thread: DeInitialize comes first. Takes no lock.
    ~IPLUGINAPI_IMPL() override;
    IPLUGINAPI_IMPL(const IPLUGINAPI_IMPL&) = delete;
    IPLUGINAPI_IMPL& operator=(const IPLUGINAPI_IMPL&) = delete;

    std::int32_t Command(std::int32_t command, std::uint64_t objectId, void* record) override;

    /// Lets a worker that still runs go on by itself, in a library that then stays loaded.
    /// @return false when none runs: the instance can be destroyed
    bool AbandonRunningWorker();

  private:
    // Start and stop: commands 1 to 3.
    PI::_ERROR_CODE Initialize(std::vector<PI::CAdapterID>& adapterIDs);
    PI::_ERROR_CODE SetAdapterIDs(const std::vector<PI::CAdapterID>& adapterIDs);
    PI::_ERROR_CODE DeInitialize();
    bool InitializeLocks(const SourceLocation& where);
    bool IsWorkerRunning();
    void Worker();
    /// The host's doorbell. The host may send commands from inside it.
    void RingHost() TARNIS_EXCLUDES(m_DataLock, m_EventsLock);
    /// One pass: report, scan, comparison, links. Gives whether the host is to be called.
    /// @param lastPassTime  time of the previous pass, 0 for none; replaced by this one's
    bool RunPass(std::uint64_t& lastPassTime) TARNIS_EXCLUDES(m_DataLock, m_EventsLock);
    /// Takes a new picture over: events for what came, went and turned bad, change counts, rows.
    PI::_ERROR_CODE UpdateSystem(std::vector<CAHCIAdapter>& adapters,
                                 std::vector<CAHCIPhysicalDrive>& drives)
        TARNIS_REQUIRES(m_DataLock, m_EventsLock);
    /// Puts events at the end of the queue: all of them, or none when memory runs out.
    void QueueEvents(std::vector<PI::CEvent>& events) TARNIS_REQUIRES(m_EventsLock);
    /// Links plug-in and adapters anew: an adapter comes out of a scan without a parent.
    void LinkAdapters() TARNIS_REQUIRES(m_DataLock);

    // Queries: commands 4 to 10. Each takes m_DataLock.
    PI::_ERROR_CODE GetTopology(std::vector<PI::CObject>& objects) TARNIS_EXCLUDES(m_DataLock);
    PI::_ERROR_CODE GetProperties(std::uint64_t objectId, std::vector<PI::CProperty>& properties)
        TARNIS_EXCLUDES(m_DataLock);
    PI::_ERROR_CODE GetProperty(std::uint64_t objectId, PI::CProperty& property)
        TARNIS_EXCLUDES(m_DataLock);
    PI::_ERROR_CODE SetProperty(std::uint64_t objectId, const PI::CProperty& property)
        TARNIS_EXCLUDES(m_DataLock);
    PI::_ERROR_CODE GetOperations(std::uint64_t objectId, std::vector<PI::COperation>& operations)
        TARNIS_EXCLUDES(m_DataLock);
    PI::_ERROR_CODE CheckOperation(std::uint64_t objectId, const PI::COperation& operation)
        TARNIS_EXCLUDES(m_DataLock);
    PI::_ERROR_CODE ExecuteOperation(std::uint64_t objectId, PI::COperation& operation)
        TARNIS_EXCLUDES(m_DataLock);
    PI::_ERROR_CODE QueryProperties(const char* command, std::uint64_t objectId,
                                    std::vector<PI::CProperty>& properties, PI::_PROPERTY_ID filter,
                                    const SourceLocation& where) TARNIS_REQUIRES(m_DataLock);
    const CAHCIAdapter* FindAdapter(std::uint64_t objectId) const TARNIS_REQUIRES(m_DataLock);
    const CAHCIPhysicalDrive* FindPhysicalDrive(std::uint64_t objectId) const
        TARNIS_REQUIRES(m_DataLock);

    // The plug-in object.
    PI::_ERROR_CODE GetPluginProperties(const CAHCIPlugin& plugin,
                                        std::vector<PI::CProperty>& properties,
                                        PI::_PROPERTY_ID filter);
    PI::_ERROR_CODE GetPluginOperations(const CAHCIPlugin& plugin,
                                        std::vector<PI::COperation>& operations);
    PI::_ERROR_CODE ExecutePluginOperation(const CAHCIPlugin& plugin, PI::COperation& operation)
        TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE GetEvents(const CAHCIPlugin& plugin, PI::COperation& operation)
        TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE SetPollInterval(CAHCIPlugin& plugin, const PI::CProperty& property)
        TARNIS_REQUIRES(m_DataLock);

    // The picture of the machine.
    PI::_ERROR_CODE ScanSystem(std::vector<CAHCIAdapter>& adapters,
                               std::vector<CAHCIPhysicalDrive>& drives, bool firstScan)
        TARNIS_REQUIRES(m_DataLock);
    CAHCIAdapter MakeAdapter(bool firstScan) TARNIS_REQUIRES(m_DataLock);
    bool MakePhysicalDrive(std::uint32_t diskNumber, CAHCIAdapter& adapter,
                           CAHCIPhysicalDrive& drive) TARNIS_REQUIRES(m_DataLock);
    const PI::CAdapterID* FindAdapterID(const CAHCIAdapter& adapter) const;
    std::uint64_t NextObjectId() TARNIS_REQUIRES(m_DataLock);

    // Rows of the shared database. No caller looks at the result, and no exception comes out of
    // those that insert, update and delete.
    PI::_ERROR_CODE SetDatabaseObjectProperties(RaidDataModels::Plugin& row,
                                                const CAHCIPlugin& plugin) const;
    PI::_ERROR_CODE SetDatabaseObjectProperties(RaidDataModels::Adapter& row,
                                                const CAHCIAdapter& adapter) const;
    PI::_ERROR_CODE SetDatabaseObjectProperties(RaidDataModels::PD& row,
                                                const CAHCIPhysicalDrive& drive) const;
    template <class Row, class Object> Row RowOf(const Object& object) const
    {
        Row row;
        SetDatabaseObjectProperties(row, object);
        return row;
    }
    PI::_ERROR_CODE InsertObjectToDatabase(const CAHCIPlugin& plugin) TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE InsertObjectToDatabase(const CAHCIAdapter& adapter) TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE InsertObjectToDatabase(const CAHCIPhysicalDrive& drive)
        TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE UpdateObjectInDatabase(const CAHCIPlugin& plugin) TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE UpdateObjectInDatabase(const CAHCIAdapter& adapter) TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE UpdateObjectInDatabase(const CAHCIPhysicalDrive& drive)
        TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE DeleteObjectFromDatabase(const CAHCIPlugin& plugin) TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE DeleteObjectFromDatabase(const CAHCIAdapter& adapter)
        TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE DeleteObjectFromDatabase(const CAHCIPhysicalDrive& drive)
        TARNIS_REQUIRES(m_DataLock);
    void InsertDriveRow(const CAHCIPhysicalDrive& drive) TARNIS_REQUIRES(m_DataLock);
    PI::_ERROR_CODE UpdateDriveRow(const CAHCIPhysicalDrive& drive) TARNIS_REQUIRES(m_DataLock);
    /// What the system says, as rows. Left as they are when there is no memory for them.
    PI::_ERROR_CODE ReadPartitions(const CAHCIPhysicalDrive& drive,
                                   std::vector<RaidDataModels::Partition>& rows)
        TARNIS_REQUIRES(m_DataLock);
    /// Rows of the drive's partitions; 0 when they cannot be counted.
    std::size_t CountPartitionRows(const CAHCIPhysicalDrive& drive) TARNIS_REQUIRES(m_DataLock);
    /// Removes the rows of the adapter's drives that the picture does not hold: of drives that went
    /// while no instance ran, or while the database could not be written.
    void RemoveStaleDriveRows(const CAHCIAdapter& adapter) TARNIS_REQUIRES(m_DataLock);

    // Members stand in their prescribed order; destruction runs it backwards.
    ZKT::Threading::Native_OS::CFastMutex m_DataLock;
    ZKT::Threading::Native_OS::CFastMutex m_EventsLock TARNIS_ACQUIRED_AFTER(m_DataLock);
    ZKT::Threading::CEvent m_ForceWorker;  ///< wakes the worker for a full pass
    ZKT::Threading::CEvent m_StopRequest;  ///< tells the worker to leave
    ZKT::Threading::CEvent m_PrivateEvent; ///< tells the worker that the interval changed
    CAHCIPlugin m_Plugin TARNIS_GUARDED_BY(m_DataLock);
    std::vector<CAHCIAdapter> m_Adapters TARNIS_GUARDED_BY(m_DataLock);
    std::vector<CAHCIPhysicalDrive> m_PhysicalDrives TARNIS_GUARDED_BY(m_DataLock);
    std::vector<PI::CAdapterID> m_AdapterIDs; ///< written before the worker exists, then constant
    std::vector<PI::CEvent> m_Events TARNIS_GUARDED_BY(m_EventsLock);
    std::atomic<std::uint32_t> m_PollInterval; ///< seconds; written under m_DataLock, read without
    std::uint32_t m_PollIntervalVDS;           ///< seconds; stored only
    std::uint64_t m_NextObjectId TARNIS_GUARDED_BY(m_DataLock);
    std::unique_ptr<ZKT::Threading::CThread> m_WorkerThread; ///< null: no worker was started
    PI::CConfigFile m_ConfigFile;
    PI::CConfigFile m_CustomConfigFile;
    std::uint32_t m_WearLevelThreshold;     ///< percent; constant after construction, as all below
    std::uint32_t m_ReservedCellsThreshold; ///< percent
    std::uint32_t m_AverageUsageThreshold;  ///< stored only
    ZKTX::CSystemDate_Win m_SnmpTrapReportTime1; ///< hour, minute and second alone
    ZKTX::CSystemDate_Win m_SnmpTrapReportTime2;
    std::shared_ptr<DatabaseORM::storage_t> m_Database; ///< never null; used under m_DataLock
    std::string m_DriverName; ///< written by Initialize before any query runs
    std::string m_DriverVersion;
    RowsInStep m_RowsInStep TARNIS_GUARDED_BY(m_DataLock);
    DisksOfTree m_DisksOfTree TARNIS_GUARDED_BY(m_DataLock); ///< as the last scan found them
    std::set<std::int32_t>
        m_DrivesGone TARNIS_GUARDED_BY(m_DataLock); ///< numbers of all that ever went
    KnownDrives m_KnownDrives TARNIS_GUARDED_BY(m_DataLock);
};

} // namespace NAMESPACE_tarnis
