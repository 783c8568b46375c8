#include "tarnis/Src/tarnisPlugin/KnownDrives.h"

#include "tarnis/Src/tarnisPlugin/Health.h"

#include <algorithm>
#include <string>
#include <utility>

namespace NAMESPACE_tarnis
{
namespace
{

CAHCIPhysicalDrive MakeRecord(const IdentifyData& words, std::uint32_t diskNumber,
                              const CAHCIAdapter& adapter)
{
    CAHCIPhysicalDrive drive;
    DriveIdentity identity = DecodeIdentity(words);
    drive.m_MediaType = MediaTypeOf(words, identity);
    drive.m_Vendor = std::move(identity.vendor);
    drive.m_Product = std::move(identity.product);
    drive.m_SerialNumber = std::move(identity.serialNumber);
    drive.m_FirmwareVersion = std::move(identity.firmwareVersion);
    drive.SetType(PI::OBJECT_PHYSICAL_DRIVE);
    drive.m_AdapterNumber = adapter.m_AdapterNumber;
    drive.m_DeviceNumber = static_cast<std::int32_t>(diskNumber);

    const std::string number = std::to_string(drive.m_DeviceNumber);
    drive.m_UniqueID = PciAddress(adapter) + "&ID=" + number;
    drive.m_Name = drive.m_Vendor + " " + drive.m_Product + " (" + number + ")";
    drive.m_OSDevice = "Disk " + number;
    return drive;
}

} // namespace

CAHCIPhysicalDrive KnownDrives::RecordOf(std::uint32_t diskNumber, const IdentifyData& words,
                                         const SmartPage& page, const CAHCIAdapter& adapter)
{
    const KnownDrive& known = DriveOf(diskNumber, words, adapter);
    CAHCIPhysicalDrive record = known.record;
    if (page)
        EvaluateSmartPage(*page, known.smartValues, record);
    return record;
}

const KnownDrives::KnownDrive& KnownDrives::DriveOf(std::uint32_t diskNumber,
                                                    const IdentifyData& words,
                                                    const CAHCIAdapter& adapter)
{
    const auto known = m_Drives.find(diskNumber);
    if (known != m_Drives.end() && std::ranges::equal(known->second.words, words))
        return known->second;
    const CAHCIPhysicalDrive record = MakeRecord(words, diskNumber, adapter);
    const PI::CSmartValues smartValues(record.m_Vendor, record.m_Product);
    KnownDrive fresh{{}, smartValues, record}; // copied, so that each text has the room it needs
    std::ranges::transform(words, fresh.words.begin(),
                           [](std::uint32_t word) { return static_cast<std::uint16_t>(word); });
    return m_Drives.insert_or_assign(diskNumber, std::move(fresh)).first->second;
}

} // namespace NAMESPACE_tarnis
