#include "tests/support/DriveModel.h"

#include "tests/support/MachineBuilder.h"
#include "tests/support/PluginTest.h"

#include <sstream>

namespace Support
{
namespace
{

constexpr unsigned Places = 64;

std::string OfDisk(const std::string& event, unsigned disk, const std::string& rest)
{
    const std::string number = std::to_string(disk);
    return event + " CRUCIAL CT480MX500SSD1 (" + number + ") [" + number + "]" + rest;
}

} // namespace

bool Drive::LooksLike(const Drive& other) const
{
    return serial == other.serial && Status() == other.Status() && isMute == other.isMute &&
           (isMute || (wear == other.wear && temperature == other.temperature));
}

nlohmann::json MachineHolding(const Drives& drives)
{
    std::vector<nlohmann::json> disks;
    for (const auto& [number, drive] : drives)
    {
        nlohmann::json& disk = disks.emplace_back(Disk(number));
        disk["identify"] = Identity("CRUCIAL CT480MX500SSD1", drive.serial);
        disk["smart"] = SmartPage({{194, 0, drive.temperature}, {202, 0, drive.wear}});
        if (!drive.partitioned)
            disk.erase("partitions");
        if (drive.isMute)
            disk["faults"].push_back("smart_data");
        if (!drive.fails.empty())
            disk["faults"].push_back(drive.fails);
        if (drive.delay != 0)
            disk["delay_ms"] = {{"identify", drive.delay}};
    }
    return MachineWith(disks);
}

Drives Seen(const Drives& drives)
{
    Drives seen = drives;
    std::erase_if(seen, [](const auto& entry) { return !entry.second.fails.empty(); });
    return seen;
}

void RandomDrives::Change()
{
    for (auto& [number, drive] : drives)
        drive.delay = 0;
    for (unsigned change = Pick(5); change > 0; --change)
    {
        const unsigned number = Pick(Places);
        ChangeOne(number, Pick(9));
    }
}

void RandomDrives::ChangeOne(unsigned number, unsigned kind)
{
    static const char* const calls[] = {"open", "device_number", "smart_version", "identify"};
    if (drives.count(number) == 0)
    {
        if (kind < 3)
            drives[number] = {NextSerial(), Pick(101)};
        return;
    }
    Drive& drive = drives[number];
    if (kind < 2)
        drives.erase(number);
    else if (kind == 2)
        drive.serial = NextSerial(); // swapped under its number
    else if (kind == 3)
        drive.wear = 95 + Pick(2);
    else if (kind == 4)
        drive.partitioned = !drive.partitioned;
    else if (kind == 5)
        drive.isMute = !drive.isMute;
    else if (kind == 6)
        ++drive.temperature %= 100;
    else if (kind == 7)
        drive.fails = drive.fails.empty() ? calls[Pick(4)] : "";
    else
        drive.delay = Pick(200) == 0 ? 500 : Pick(10);
}

std::string EventText(const PI::CEvent& event)
{
    return std::to_string(event.m_EventID) + ' ' + event.GetSource() + " [" +
           event.GetPlaceHolder2() + "][" + event.GetPlaceHolder3() + "][" +
           event.GetPlaceHolder4() + "] severity " + std::to_string(event.m_Severity);
}

std::string Came(unsigned disk, const std::string& serial)
{
    return OfDisk("10920", disk, "[FW0001][" + serial + "] severity 2");
}

std::string Failing(unsigned disk)
{
    return OfDisk("10045", disk, "[][] severity 3");
}

std::string Worn(unsigned disk)
{
    return OfDisk("11090", disk, "[][] severity 3");
}

ExpectedInstance::ExpectedInstance() : m_NextId(FirstDriveId) {}

void ExpectedInstance::Raise(const std::string& text, std::uint64_t id)
{
    std::ostringstream event;
    event << text << " of " << std::hex << id;
    m_Events.push_back(event.str());
}

void ExpectedInstance::Report()
{
    for (const auto& [number, known] : m_Drives)
    {
        if (known.drive.Status() == 2)
            Raise(Failing(number), known.id);
        if (known.drive.wear > 97 && !known.drive.isMute)
            Raise(Worn(number), known.id);
    }
}

// A drive that went is told as one that came: a reader tells them apart by the topology. Of a drive
// in use trouble is told at report times alone.
void ExpectedInstance::Pass(const Drives& drives, bool isReport)
{
    if (isReport)
        Report();
    const auto old = std::exchange(m_Drives, {});
    const std::string adapter = AdapterText(old);
    std::vector<std::pair<unsigned, std::uint64_t>> failing;
    for (const auto& [number, drive] : Seen(drives))
    {
        const auto before = old.find(number);
        const bool isNew = before == old.end();
        Known& known = m_Drives[number] = isNew ? Known{drive, m_NextId++} : before->second;
        known.drive = drive;
        if (isNew)
            Raise(Came(number, drive.serial), known.id);
        else
            known.changes += !drive.LooksLike(before->second.drive);
        if (!isNew && drive.Status() == 2 && before->second.drive.Status() == 0)
            failing.emplace_back(number, known.id);
    }
    for (const auto& [number, known] : old)
        if (m_Drives.count(number) == 0)
            Raise(Came(number, known.drive.serial), known.id);
    for (const auto& [number, id] : failing)
        Raise(Failing(number), id);
    m_AdapterChanges += AdapterText(m_Drives) != adapter;
}

void ExpectedInstance::Start(const Drives& drives)
{
    Pass(drives, false);
    m_Events.clear();
    m_AdapterChanges = 0;
}

std::string ExpectedInstance::AdapterText(const std::map<unsigned, Known>& drives)
{
    std::string text;
    bool isWarning = false;
    for (const auto& [number, known] : drives)
    {
        text += std::to_string(known.id) + ' ';
        isWarning = isWarning || known.drive.Status() == 2;
    }
    return text + (isWarning ? "warning" : "");
}

std::vector<std::string> ExpectedInstance::Texts(const std::vector<PI::CEvent>& events)
{
    ExpectedInstance told;
    for (const PI::CEvent& event : events)
        told.Raise(EventText(event), event.m_ObjectID);
    return told.TakeEvents();
}

std::string ExpectedInstance::Text() const
{
    std::ostringstream text;
    text << "adapter " << m_AdapterChanges << '\n';
    for (const auto& [number, known] : m_Drives)
        text << number << ' ' << std::hex << known.id << std::dec << ' ' << known.changes << '\n';
    return text.str();
}

std::string ExpectedInstance::TextOf(const std::vector<PI::CObject>& topology)
{
    std::ostringstream text;
    for (const PI::CObject& object : topology)
        if (object.m_Type == PI::OBJECT_PHYSICAL_DRIVE)
            text << ValueText(object, PI::PROP_DEVICE_NUMBER).substr(7) << ' ' << std::hex
                 << object.m_ID << std::dec << ' ' << object.m_ChangeCount << '\n';
        else if (object.m_Type == PI::OBJECT_ADAPTER)
            text << "adapter " << object.m_ChangeCount << '\n';
    return text.str();
}

} // namespace Support
