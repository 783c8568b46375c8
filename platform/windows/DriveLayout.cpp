#include "platform/windows/DriveLayout.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>

namespace Platform
{

namespace
{

constexpr BYTE ExtendedTypes[] = {0x05, 0x0F, 0x85};
constexpr std::uint64_t ReadOnlyAttribute = 1ULL << 60;

template <class... Values> std::string Format(const char* format, Values... values)
{
    char text[64];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string GuidText(const GUID& guid)
{
    const UCHAR* tail = guid.Data4;
    return Format("%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", guid.Data1, guid.Data2,
                  guid.Data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6],
                  tail[7]);
}

bool IsPartition(const PARTITION_INFORMATION_EX& entry)
{
    if (entry.PartitionNumber == 0)
        return false;
    if (entry.PartitionStyle == PARTITION_STYLE_MBR)
        return entry.Mbr.PartitionType != PARTITION_ENTRY_UNUSED &&
               std::count(std::begin(ExtendedTypes), std::end(ExtendedTypes),
                          entry.Mbr.PartitionType) == 0;
    constexpr GUID Unused = {};
    return entry.PartitionStyle == PARTITION_STYLE_GPT &&
           std::memcmp(&entry.Gpt.PartitionType, &Unused, sizeof Unused) != 0;
}

ZKTX::CSystemPartition MakePartition(DWORD diskNumber, DWORD signature,
                                     const PARTITION_INFORMATION_EX& entry)
{
    ZKTX::CSystemPartition partition;
    partition.m_PartitionName = "Disk " + std::to_string(diskNumber) + " Partition " +
                                std::to_string(entry.PartitionNumber);
    partition.m_Index = static_cast<std::int32_t>(entry.PartitionNumber);
    partition.m_Number1 = static_cast<std::uint64_t>(entry.StartingOffset.QuadPart);
    partition.m_Number2 = static_cast<std::uint64_t>(entry.PartitionLength.QuadPart);
    if (entry.PartitionStyle == PARTITION_STYLE_MBR)
    {
        partition.m_Text4 = Format("0x%x", static_cast<unsigned>(entry.Mbr.PartitionType));
        // Such a table has no identifiers of its own; this is what others make of it.
        partition.m_Text5 = Format("%08lx-%02lx", signature, entry.PartitionNumber);
    }
    else
    {
        partition.m_Text4 = GuidText(entry.Gpt.PartitionType);
        partition.m_Text5 = GuidText(entry.Gpt.PartitionId);
        if ((entry.Gpt.Attributes & ReadOnlyAttribute) != 0)
            partition.m_Text6 = "read-only";
    }
    return partition;
}

} // namespace

std::vector<ZKTX::CSystemPartition> ReadLayout(DWORD diskNumber, const std::vector<BYTE>& answer)
{
    constexpr std::size_t FirstEntry = offsetof(DRIVE_LAYOUT_INFORMATION_EX, PartitionEntry);
    std::vector<ZKTX::CSystemPartition> partitions;
    if (answer.size() < FirstEntry)
        return partitions;
    DRIVE_LAYOUT_INFORMATION_EX head = {};
    std::memcpy(&head, answer.data(), FirstEntry);
    const std::size_t there = (answer.size() - FirstEntry) / sizeof(PARTITION_INFORMATION_EX);
    for (std::size_t i = 0; i < std::min<std::size_t>(head.PartitionCount, there); ++i)
    {
        PARTITION_INFORMATION_EX entry = {};
        std::memcpy(&entry, answer.data() + FirstEntry + i * sizeof entry, sizeof entry);
        if (IsPartition(entry))
            partitions.push_back(MakePartition(diskNumber, head.Mbr.Signature, entry));
    }
    return partitions;
}

} // namespace Platform
