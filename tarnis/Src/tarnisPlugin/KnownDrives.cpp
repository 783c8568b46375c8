#include "tarnis/Src/tarnisPlugin/KnownDrives.h"

#include "tarnis/Src/tarnisPlugin/Health.h"

#include <cstring>
#include <string>
#include <unordered_set>
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

bool IsSame(const SmartPage& one, const SmartPage& other)
{
    return one.has_value() == other.has_value() &&
           (!one || std::memcmp(&*one, &*other, sizeof *one) == 0);
}

} // namespace

const CAHCIPhysicalDrive& KnownDrives::RecordOf(std::uint32_t diskNumber, const IdentifyData& words,
                                                const SmartPage& page, const CAHCIAdapter& adapter)
{
    KnownDrive& known = DriveOf(diskNumber, words, adapter);
    if (!IsSame(known.page, page))
    {
        CAHCIPhysicalDrive record = known.record;
        ForgetReadings(record);
        if (page)
            EvaluateSmartPage(*page, known.smartValues, record);
        known.record = std::move(record);
        known.page = page;
    }
    return known.record;
}

void KnownDrives::Keep(const std::vector<std::uint32_t>& diskNumbers)
{
    if (m_Drives.size() <= diskNumbers.size())
        return;
    const std::unordered_set<std::uint32_t> kept(diskNumbers.begin(), diskNumbers.end());
    std::erase_if(m_Drives, [&](const auto& known) { return !kept.contains(known.first); });
}

KnownDrives::KnownDrive& KnownDrives::DriveOf(std::uint32_t diskNumber, const IdentifyData& words,
                                              const CAHCIAdapter& adapter)
{
    const auto known = m_Drives.find(diskNumber);
    if (known != m_Drives.end() && known->second.words == words)
        return known->second;
    const CAHCIPhysicalDrive record = MakeRecord(words, diskNumber, adapter);
    const PI::CSmartValues smartValues(record.m_Vendor, record.m_Product);
    return m_Drives
        .insert_or_assign(diskNumber, KnownDrive{words, smartValues, std::nullopt, record})
        .first->second;
}

} // namespace NAMESPACE_tarnis
