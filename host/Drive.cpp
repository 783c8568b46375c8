#include "host/Drive.h"

#include "host/Health.h"
#include "host/PropertyText.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <map>
#include <tuple>
#include <variant>

namespace Host
{

namespace
{

using ZKTX::CSystemDisk;

constexpr std::uint8_t reportedUncorrectable = 187;
constexpr std::uint8_t pendingSector = 197;

std::string TextOf(const PI::CObject& object, PI::_PROPERTY_ID id)
{
    const PI::CProperty* property = FindProperty(object, id);
    const PropertyValue value = property == nullptr ? PropertyValue() : ValueOf(*property);
    const auto* text = std::get_if<std::string>(&value);
    return text == nullptr ? std::string() : *text;
}

/// The value of a property that the plug-in has read. It hides one that it has not.
template <typename Value>
std::optional<Value> ReadingOf(const PI::CObject& object, PI::_PROPERTY_ID id)
{
    const PI::CProperty* property = FindProperty(object, id);
    if (property == nullptr || property->m_ViewMask == 0)
        return std::nullopt;
    const PropertyValue value = ValueOf(*property);
    const auto* held = std::get_if<Value>(&value);
    return held == nullptr ? std::nullopt : std::optional(*held);
}

std::optional<int> PercentOf(const PI::CObject& object, PI::_PROPERTY_ID id)
{
    const auto range = ReadingOf<RangeValue>(object, id);
    return range ? std::optional(range->value) : std::nullopt;
}

void TakeObject(const PI::CObject& object, Drive& drive)
{
    drive.object = &object;
    drive.label = WordOf(object);
    const std::string vendor = TextOf(object, PI::PROP_VENDOR);
    const std::string product = TextOf(object, PI::PROP_PRODUCT);
    drive.model = vendor.empty() || product.empty() ? vendor + product : vendor + ' ' + product;
    drive.serial = TextOf(object, PI::PROP_SERIAL_NUMBER);
    drive.firmware = TextOf(object, PI::PROP_FIRMWARE_VERSION);
    drive.status = ChoiceOf(object, PI::PROP_STATUS).value_or(0);
    drive.isSsd = ChoiceOf(object, PI::PROP_MEDIA_TYPE) == PI::VAL_SSD;
    drive.temperature = ReadingOf<float>(object, PI::PROP_TEMPERATURE);
    drive.hours = ReadingOf<std::uint64_t>(object, PI::PROP_POWERON_HOURS);
    drive.used = PercentOf(object, PI::PROP_RATED_ENDURANCE_PERCENT);
    drive.reserve = PercentOf(object, PI::PROP_REMAINING_RESERVE_SPACE);
    drive.lastsUntil =
        ReadingOf<std::string>(object, PI::PROP_ESTIMATED_LIFETIME).value_or(std::string());
}

/// A raw count of 32 bits; more than fit are another unit.
std::optional<std::uint64_t> CountOf(const Drive& drive, std::uint8_t id)
{
    const PI::CSmartAttribute* attribute = FindAttribute(drive, id);
    const bool isCount =
        attribute != nullptr && attribute->m_Raw < std::numeric_limits<std::uint32_t>::max();
    return isCount ? std::optional(attribute->m_Raw) : std::nullopt;
}

void TakePage(const CSystemDisk& disk, Drive& drive)
{
    PI::_IDE_SMART_DATA page;
    if (disk.m_SmartPage.size() != sizeof page || drive.object == nullptr)
        return;
    std::memcpy(&page, disk.m_SmartPage.data(), sizeof page);
    PI::CSmartValues values(TextOf(*drive.object, PI::PROP_VENDOR),
                            TextOf(*drive.object, PI::PROP_PRODUCT));
    values.Explain(page, drive.smart);
    drive.ratedTerabytes = values.m_Rating;
    if (values.Evaluate(page) && values.m_BytesWritten != 0)
        drive.bytesWritten = values.m_BytesWritten;
    drive.hasPage = true;
    drive.pageAge = disk.m_SmartPageAge;
    if (!drive.isSsd)
    {
        drive.errors.pendingSectors = CountOf(drive, pendingSector);
        drive.errors.uncorrectableErrors = CountOf(drive, reportedUncorrectable);
    }
}

/// The SMART pages of the disks. The plug-in keeps pages by the low 8 bits of a disk's number: of
/// the disks that share one, it holds the page of the one that was asked last.
class PageSources
{
  public:
    explicit PageSources(const std::vector<CSystemDisk>& disks)
    {
        for (const CSystemDisk& disk : disks)
            if (disk.m_Number && !disk.m_SmartPage.empty())
            {
                const CSystemDisk*& last = m_Last[*disk.m_Number & 0xFF];
                if (last == nullptr || disk.m_SmartPageAge < last->m_SmartPageAge)
                    last = &disk;
            }
    }

    /// The disk whose page the plug-in holds for this one.
    const CSystemDisk& Of(const CSystemDisk& disk) const
    {
        const CSystemDisk* last = disk.m_Number ? m_Last[*disk.m_Number & 0xFF] : nullptr;
        const bool isOwn = last == nullptr || (!disk.m_SmartPage.empty() &&
                                               disk.m_SmartPageAge <= last->m_SmartPageAge);
        return isOwn ? disk : *last;
    }

  private:
    std::array<const CSystemDisk*, 256> m_Last = {};
};

void MarkSharedPages(std::vector<Drive>& drives)
{
    std::map<std::uint32_t, const Drive*> firstOf;
    for (Drive& drive : drives)
        if (drive.number && drive.IsAnswering())
            if (const auto [first, isNew] = firstOf.emplace(*drive.number & 0xFF, &drive); !isNew)
                drive.sharesPageWith = first->second->label;
}

} // namespace

std::optional<std::uint64_t> Drive::ExactBytesWritten() const
{
    return bytesWritten == std::numeric_limits<std::uint64_t>::max() ? std::nullopt : bytesWritten;
}

std::vector<Drive> DrivesOf(const Objects& objects, const std::vector<CSystemDisk>& disks)
{
    std::map<std::uint32_t, const CSystemDisk*> diskOf;
    for (const CSystemDisk& disk : disks)
        if (disk.m_Number)
            diskOf[*disk.m_Number] = &disk;
    const PageSources pages(disks);
    std::vector<Drive> drives;
    drives.reserve(disks.size());
    for (const PI::CObject& object : objects)
    {
        if (object.m_Type != PI::OBJECT_PHYSICAL_DRIVE)
            continue;
        Drive& drive = drives.emplace_back();
        TakeObject(object, drive);
        const auto number = ReadingOf<std::uint64_t>(object, PI::PROP_DEVICE_NUMBER);
        if (!number)
            continue;
        drive.number = static_cast<std::uint32_t>(*number);
        const auto disk = diskOf.find(*drive.number);
        if (disk == diskOf.end())
            continue;
        drive.systemName = disk->second->m_Name;
        drive.bytes = disk->second->m_Bytes;
        TakePage(pages.Of(*disk->second), drive);
        diskOf.erase(disk);
    }
    for (const CSystemDisk& disk : disks)
    {
        // One that answers and is none of the plug-in's drives came after the last pass.
        if (disk.m_Silence.empty() || (disk.m_Number && !diskOf.contains(*disk.m_Number)))
            continue;
        Drive& drive = drives.emplace_back();
        drive.number = disk.m_Number;
        drive.label = disk.m_Number ? "disk" + std::to_string(*disk.m_Number) : disk.m_Path;
        drive.systemName = disk.m_Name;
        drive.silence = disk.m_Silence;
        drive.mayBeWell = disk.m_MayBeWell;
    }
    std::stable_sort(drives.begin(), drives.end(),
                     [](const Drive& one, const Drive& other)
                     { return one.number < other.number; });
    MarkSharedPages(drives);
    return drives;
}

const PI::CSmartAttribute* FindAttribute(const Drive& drive, std::uint8_t id)
{
    const auto& attributes = drive.smart.m_Attributes;
    const auto found =
        std::find_if(attributes.begin(), attributes.end(),
                     [id](const PI::CSmartAttribute& attribute) { return attribute.m_ID == id; });
    return found == attributes.end() ? nullptr : &*found;
}

std::optional<std::uint32_t> MarginOf(const PI::CSmartAttribute& attribute)
{
    constexpr std::uint32_t none = 0xFFFFFFFF;
    return attribute.m_Margin == none ? std::nullopt : std::optional(attribute.m_Margin);
}

std::string NameOf(const Drive& drive)
{
    return drive.systemName.empty() ? drive.label : drive.label + " (" + drive.systemName + ')';
}

} // namespace Host
