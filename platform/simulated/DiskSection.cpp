#include "platform/simulated/Sections.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace Platform
{

namespace
{

constexpr std::uint32_t LongestDelay = 600000;
constexpr std::uint64_t HighestSize = std::numeric_limits<std::int64_t>::max();
constexpr std::size_t LongestText = 4096;

/// The call of a name; complains about a name that is none.
/// @param last  the last call that is meant here
DriveCall CallNamed(const std::string& name, DriveCall last, const JsonValue& place)
{
    const auto end = DriveCallNames.begin() + static_cast<std::ptrdiff_t>(PositionOf(last)) + 1;
    const auto found = std::find(DriveCallNames.begin(), end, name);
    if (found == end)
    {
        std::string known;
        std::for_each(DriveCallNames.begin(), end,
                      [&](const char* each)
                      { known += (known.empty() ? "" : ", ") + std::string(each); });
        place.Fail("\"" + Printable(name, 40) + "\" is no command", "use " + known);
    }
    return static_cast<DriveCall>(found - DriveCallNames.begin());
}

ZKTX::CSystemPartition ReadPartition(const JsonValue& value)
{
    value.DemandObject({"name", "start", "bytes", "index", "mount", "filesystem", "label", "type",
                        "uuid", "state"});
    const auto text = [&](const char* name)
    { return value.Has(name) ? value.Member(name).Text(LongestText) : std::string(); };
    const auto number = [&](const char* name, std::uint64_t highest)
    { return value.Has(name) ? value.Member(name).Number(0, highest) : 0; };

    ZKTX::CSystemPartition partition;
    partition.m_PartitionName = value.Member("name").Text(LongestText);
    partition.m_Number1 = number("start", HighestSize);
    partition.m_Number2 = number("bytes", HighestSize);
    partition.m_Index =
        static_cast<std::int32_t>(number("index", std::numeric_limits<std::int32_t>::max()));
    partition.m_Text1 = text("mount");
    partition.m_Text2 = text("filesystem");
    partition.m_Text3 = text("label");
    partition.m_Text4 = text("type");
    partition.m_Text5 = text("uuid");
    partition.m_Text6 = text("state");
    return partition;
}

DiskRecord ReadDisk(const JsonValue& value, PageFiles& files)
{
    DiskRecord disk;
    if (value.Has("bytes"))
        disk.bytes = value.Member("bytes").Number(0, HighestSize);
    const auto page = [&](const JsonValue& content, auto build)
    {
        content.DemandKind(content.IsText() || content.IsObject(), "a file name or an object");
        return content.IsText() ? files.Read(content) : build(content);
    };
    if (value.Has("identify"))
        disk.identify = page(value.Member("identify"), [&](const JsonValue& content)
                             { return BuildIdentifyPage(content, disk.bytes); });
    if (value.Has("smart"))
        disk.smart = page(value.Member("smart"), BuildSmartPage);
    if (value.Has("partitions"))
        value.Member("partitions")
            .EachItem([&](std::size_t, const JsonValue& partition)
                      { disk.partitions.push_back(ReadPartition(partition)); });
    if (value.Has("faults"))
        value.Member("faults").EachItem(
            [&](std::size_t, const JsonValue& fault)
            {
                const DriveCall call = CallNamed(fault.Text(LongestText), DriveCall::Length, fault);
                disk.fails[PositionOf(call)] = true;
            });
    if (value.Has("delay_ms"))
        value.Member("delay_ms")
            .EachMember(
                [&](const std::string& name, const JsonValue& delay)
                {
                    const DriveCall call = CallNamed(name, DriveCall::Partitions, delay);
                    disk.delay[PositionOf(call)] =
                        static_cast<std::uint32_t>(delay.Number(0, LongestDelay));
                });
    return disk;
}

} // namespace

void DisksReader::Read(const JsonValue& disk, std::size_t position)
{
    disk.DemandObject({"number", "bytes", "identify", "smart", "partitions", "faults", "delay_ms"});
    const JsonValue numberValue = disk.Member("number");
    const auto number = static_cast<DWORD>(numberValue.Number(0, HighestDiskNumber));
    const auto [known, isNew] = m_Positions.emplace(number, position);
    if (!isNew)
        numberValue.Fail("disk " + std::to_string(number) + " stands in disks[" +
                             std::to_string(known->second) + "] already",
                         "give each disk a number of its own");
    m_Machine.disks[number] = std::make_shared<const DiskRecord>(ReadDisk(disk, m_Files));
}

} // namespace Platform
