// The picture of the machine at one moment: an adapter, and a record for each drive that answers.
// Built afresh on every call. Ids and change counts carry over from the last picture, and what
// follows from the same answers of a drive is not worked out again.
//
// A drive that fails is left out. A lack of memory or of descriptors says nothing about any drive:
// it ends the scan with std::bad_alloc, and whoever asked keeps what he had.
#include "platform/Handles.h"
#include "platform/Shortage.h"
#include "platform/WindowsApi.h"
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisPlugin/Discovery.h"
#include "tarnis/Src/tarnisPlugin/DriveCommands.h"
#include "tarnis/Src/tarnisPlugin/Health.h"
#include "tarnis/Src/tarnisPlugin/Identity.h"
#include "tarnis/Src/tarnisPlugin/KnownDrives.h"

#include <algorithm>
#include <optional>

namespace NAMESPACE_tarnis
{
namespace
{

constexpr std::int32_t TheAdapterNumber = 0; // one adapter stands for all controllers
constexpr unsigned MegabyteShift = 20;

/// What a drive answered while it was open.
struct DriveAnswers
{
    IdentifyData words;
    SmartPage smartPage;
    std::optional<std::uint64_t> length;
};

/// Opens a drive, asks it and closes it. False for a drive that cannot be opened, takes no SMART
/// commands or does not identify itself.
bool AskDrive(std::uint32_t diskNumber, DriveAnswers& answers)
{
    const std::string path = "\\\\.\\PhysicalDrive" + std::to_string(diskNumber);
    const Platform::DeviceHandle drive(
        Platform::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, 0, nullptr));
    const auto driveNumber = static_cast<std::uint8_t>(diskNumber);
    if (!Platform::GaveHandle(drive.Get()) || !GetSmartVersion(drive.Get()) ||
        !IdentifyDrive(drive.Get(), driveNumber, answers.words))
        return false;

    if (IsFixedDevice(answers.words) &&
        ReadSmartData(drive.Get(), driveNumber, answers.smartPage.emplace()) != PI::ERR_SUCCESS)
        answers.smartPage.reset();
    std::uint64_t length = 0;
    if (GetDriveLength(drive.Get(), length))
        answers.length = length;
    return true;
}

bool HasPartitions(const std::string& osDevice)
{
    std::vector<ZKTX::CSystemPartition> partitions;
    ZKTX::CSystemPartitionTable(osDevice).GetPartitions(partitions);
    return !partitions.empty();
}

/// Takes id and change count of the record that the object has in the last picture, if any.
template <class Record> bool InheritIdentity(const Record* old, Record& record)
{
    if (old == nullptr)
        return false;
    record.SetID(old->GetID());
    record.SetChangeCount(old->GetChangeCount());
    return true;
}

/// Whether a disk is gone that was none of the drives. Another process or an earlier run may have
/// left its row.
bool IsSilentDiskGone(const DisksOfTree& before, const DisksOfTree& now,
                      const std::vector<CAHCIPhysicalDrive>& drives)
{
    if (before.numbers == now.numbers && before.isComplete == now.isComplete)
        return false;
    const auto isDrive = [&](std::uint32_t number)
    {
        return std::any_of(drives.begin(), drives.end(),
                           [number](const CAHCIPhysicalDrive& drive)
                           { return drive.m_DeviceNumber == static_cast<std::int32_t>(number); });
    };
    return (!before.isComplete && now.isComplete) ||
           std::any_of(before.numbers.begin(), before.numbers.end(),
                       [&](std::uint32_t number) {
                           return now.Lacks(static_cast<std::int32_t>(number)) && !isDrive(number);
                       });
}

} // namespace

CAHCIAdapter IPLUGINAPI_IMPL::MakeAdapter(bool firstScan)
{
    CAHCIAdapter adapter;
    adapter.SetType(PI::OBJECT_ADAPTER);
    adapter.m_AdapterNumber = TheAdapterNumber;
    adapter.m_Product = AdapterProduct;
    adapter.m_UniqueID = PciAddress(adapter);
    const PI::CAdapterID* hostID = FindAdapterID(adapter);
    adapter.m_Name = AdapterName(adapter.m_Product, hostID ? hostID->m_GlobalAdapterID : 0);

    if (firstScan || !InheritIdentity(FindSame(m_Adapters, adapter), adapter))
        adapter.SetID(NextObjectId());
    adapter.m_DriverName = m_DriverName;
    adapter.m_DriverVersion = m_DriverVersion;
    return adapter;
}

bool IPLUGINAPI_IMPL::MakePhysicalDrive(std::uint32_t diskNumber, CAHCIAdapter& adapter,
                                        CAHCIPhysicalDrive& drive)
{
    DriveAnswers answers;
    if (!AskDrive(diskNumber, answers))
        return false;

    drive = m_KnownDrives.RecordOf(diskNumber, answers.words, answers.smartPage, adapter);
    if (answers.length)
        drive.m_SizeMB = *answers.length >> MegabyteShift;

    drive.m_Status = HasPartitions(drive.m_OSDevice) ? PI::VAL_OPERATIONAL : PI::VAL_AVAILABLE;
    ApplyHealthLimits(drive, adapter);
    return true;
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::ScanSystem(std::vector<CAHCIAdapter>& adapters,
                                            std::vector<CAHCIPhysicalDrive>& drives, bool firstScan)
{
    Trace(TRACE_FLOW, "ENTER ScanSystem(%d) PhyDrive=%d", firstScan, drives.size());
    adapters.clear();
    drives.clear();
    CAHCIAdapter adapter = MakeAdapter(firstScan);

    std::string driverName; // the instance keeps the one that Initialize found
    DisksOfTree disks;
    FindStorageDriver(driverName, disks.numbers, &disks.isComplete);
    drives.reserve(disks.numbers.size());
    adapter.GetChildren().reserve(disks.numbers.size());
    const DriveIndex last(m_PhysicalDrives);
    for (const std::uint32_t diskNumber : disks.numbers)
    {
        CAHCIPhysicalDrive& drive = drives.emplace_back();
        if (!MakePhysicalDrive(diskNumber, adapter, drive))
        {
            drives.pop_back();
            continue;
        }
        if (firstScan || !InheritIdentity(last.Find(drive), drive))
        {
            if (!firstScan)
                Trace(TRACE_FLOW, "The drive is not found yet!");
            drive.SetID(NextObjectId());
        }
        adapter.GetChildren().push_back(drive.GetID());
        drive.GetParents().push_back(adapter.GetID());
    }

    PI::CGlobalAdapterID globalID("localhost");
    globalID.SetAdapterUniqueID(0);
    globalID.GenerateUniqueAdapterNumber();
    adapter.m_GlobalAdapterNumber = globalID.GetGlobalAdapterNumber();
    for (CAHCIPhysicalDrive& drive : drives)
        drive.m_GlobalAdapterNumber = adapter.m_GlobalAdapterNumber;
    adapters.push_back(std::move(adapter));
    if (IsSilentDiskGone(m_DisksOfTree, disks, m_PhysicalDrives))
        m_RowsInStep.behind = true;
    m_DisksOfTree = std::move(disks);

    Trace(TRACE_FLOW, "LEAVE ScanSystem() -> %d", PI::ERR_SUCCESS);
    return PI::ERR_SUCCESS;
}

} // namespace NAMESPACE_tarnis
