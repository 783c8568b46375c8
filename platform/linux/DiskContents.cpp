#include "platform/linux/DiskContents.h"

#include "platform/Shortage.h"
#include "platform/linux/AtaPassThrough.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <sys/file.h>

namespace Platform
{

namespace
{

constexpr std::chrono::seconds LookInterval{300};

/// Sectors written and discarded since the disk is there; nothing when the kernel does not tell.
std::uint64_t WrittenSectors(const KernelDisk& disk)
{
    constexpr std::size_t Written = 6; // fields of the attribute, counted from 0
    constexpr std::size_t Discarded = 13;
    const std::string text = ReadAttribute(disk.folder + "/stat").value_or("");
    std::vector<std::string> fields;
    const auto words = boost::trim_copy(text);
    boost::split(fields, words, boost::is_any_of(" "), boost::token_compress_on);
    std::uint64_t sum = 0;
    for (const std::size_t field : {Written, Discarded})
    {
        if (field < fields.size())
            sum += std::strtoull(fields[field].c_str(), nullptr, 10);
    }
    return sum;
}

/// Whether it is the same disk with the same partitions, of which one may have become read-only. A
/// disk that nothing tells apart from the one before has hardly seen the same number of writes.
bool HasSameLayout(const KernelDisk& one, const KernelDisk& other)
{
    const auto same = [](const KernelPartition& left, const KernelPartition& right)
    {
        return left.name == right.name && left.index == right.index && left.start == right.start &&
               left.bytes == right.bytes;
    };
    return one.identity == other.identity && same(one.whole, other.whole) &&
           std::equal(one.partitions.begin(), one.partitions.end(), other.partitions.begin(),
                      other.partitions.end(), same);
}

/// Where the partitions are mounted, and the whole disk as the last.
std::vector<std::string> TargetsOf(const KernelDisk& disk, const MountTable& mounts)
{
    std::vector<std::string> targets;
    for (const KernelPartition& partition : disk.partitions)
        targets.push_back(mounts.TargetOf(partition.device, partition.name));
    targets.push_back(mounts.TargetOf(disk.whole.device, disk.whole.name));
    return targets;
}

ZKTX::CSystemPartition MakePartition(const KernelPartition& extent, const std::string& target,
                                     const ContentFacts& content)
{
    ZKTX::CSystemPartition partition;
    partition.m_PartitionName = extent.name;
    partition.m_Index = extent.index;
    partition.m_Number1 = extent.start;
    partition.m_Number2 = extent.bytes;
    partition.m_Text1 = target;
    partition.m_Text2 = content.fileSystem;
    partition.m_Text3 = content.label;
    partition.m_Text6 = extent.isReadOnly ? "read-only" : "";
    return partition;
}

} // namespace

DiskContents::DiskContents(SystemFolders folders, std::shared_ptr<DiskPort> port)
    : m_Folders(std::move(folders)), m_Port(std::move(port))
{
}

void DiskContents::AppendPartitions(const std::shared_ptr<const KernelDisk>& disk,
                                    const std::shared_ptr<const MountTable>& mounts,
                                    Clock::time_point now,
                                    std::vector<ZKTX::CSystemPartition>& partitions)
{
    const auto facts = FactsOf(disk, mounts, now);
    partitions.insert(partitions.end(), facts->partitions.begin(), facts->partitions.end());
}

void DiskContents::Keep(const KernelPicture& picture)
{
    const std::lock_guard guard(m_Lock);
    std::erase_if(m_Remembered,
                  [&](const auto& entry)
                  {
                      return std::none_of(picture.disks.begin(), picture.disks.end(),
                                          [&](const auto& disk)
                                          { return disk.second->whole.name == entry.first; });
                  });
}

std::shared_ptr<const DiskContents::Remembered>
DiskContents::FactsOf(const std::shared_ptr<const KernelDisk>& disk,
                      const std::shared_ptr<const MountTable>& mounts, Clock::time_point now)
{
    std::shared_ptr<const Remembered> before;
    {
        const std::lock_guard guard(m_Lock);
        before = m_Remembered[disk->whole.name];
    }
    const bool isFresh = before && before->disk == disk && now - before->looked <= LookInterval;
    if (isFresh && before->mounts == mounts)
        return before;

    // Other threads may be here for the same disk; they find the same.
    const bool isSame = before && HasSameLayout(*before->disk, *disk);
    auto facts = isSame ? std::make_shared<Remembered>(*before) : std::make_shared<Remembered>();
    facts->disk = disk;
    facts->mounts = mounts;
    facts->targets = TargetsOf(*disk, *mounts);
    if (!isFresh || facts->targets != before->targets)
    {
        facts->looked = now;
        LookAgain(*facts);
    }
    facts->partitions = MakePartitions(*facts);
    const std::lock_guard guard(m_Lock);
    return m_Remembered[disk->whole.name] = std::move(facts);
}

std::vector<ZKTX::CSystemPartition> DiskContents::MakePartitions(const Remembered& facts)
{
    const KernelDisk& disk = *facts.disk;
    const auto contentOf = [&](const KernelPartition& extent)
    {
        const auto found = facts.contents.find(extent.name);
        return found == facts.contents.end() ? ContentFacts() : found->second;
    };
    std::vector<ZKTX::CSystemPartition> partitions;
    for (std::size_t at = 0; at < disk.partitions.size(); ++at)
    {
        const KernelPartition& extent = disk.partitions[at];
        auto partition = MakePartition(extent, facts.targets[at], contentOf(extent));
        for (const TableEntry& entry : facts.table.entries)
        {
            // The table on the disk may be a newer one than the kernel's.
            if (entry.index != extent.index || entry.start != extent.start)
                continue;
            partition.m_Text4 = entry.type;
            partition.m_Text5 = entry.uuid;
        }
        partitions.push_back(std::move(partition));
    }
    const ContentFacts whole = contentOf(disk.whole);
    if (disk.partitions.empty() && (whole.isThere || !facts.targets.back().empty()))
        partitions.push_back(MakePartition(disk.whole, facts.targets.back(), whole));
    return partitions;
}

/// Reads the disk if there may be something new on it.
void DiskContents::LookAgain(Remembered& facts) const
{
    const std::uint64_t written = WrittenSectors(*facts.disk);
    if (!facts.isComplete || facts.written != written)
    {
        facts.written = written;
        Read(*facts.disk, facts);
    }
}

/// Takes from the disk what it gives; what it does not give stays as it was.
void DiskContents::Read(const KernelDisk& disk, Remembered& facts) const
{
    const auto openFile = [&](const KernelPartition& extent, FileDescriptor& file)
    {
        const int error =
            m_Port->Open(m_Folders.dev + "/" + extent.name, {extent.device, {}}, file);
        CheckResources(error);
        return error == 0;
    };
    const auto mayRead = [&](const FileDescriptor& file)
    {
        bool isAsleep = false;
        const DWORD error = SendCheckPowerMode(*m_Port, {file.Get()}, isAsleep);
        ThrowShortage(error);
        return error == ERROR_SUCCESS && !isAsleep;
    };

    facts.isComplete = false;
    FileDescriptor file;
    if (disk.IsSuspended() || !openFile(disk.whole, file) || (disk.isAta && !mayRead(file)))
        return;
    // Whoever changes a table holds this lock alone, and must not find a partition in use.
    if (flock(file.Get(), LOCK_SH | LOCK_NB) != 0)
        return;
    const auto table = m_Port->ReadTable(file.Get());
    if (!table)
        return;
    facts.table = *table;

    // After the first one that cannot be read no other is tried: each may take the disk minutes.
    std::map<std::string, ContentFacts> contents;
    bool isReadable = true;
    const auto read = [&](const KernelPartition& extent, const FileDescriptor& part)
    {
        const auto content = isReadable ? m_Port->ReadContent(part.Get()) : std::nullopt;
        isReadable = content.has_value();
        contents[extent.name] = content ? *content : facts.contents[extent.name];
    };
    for (const KernelPartition& extent : disk.partitions)
    {
        FileDescriptor part;
        isReadable = isReadable && openFile(extent, part);
        read(extent, part);
    }
    if (disk.partitions.empty() && !table->isThere)
        read(disk.whole, file);
    facts.contents = std::move(contents);
    facts.isComplete = isReadable;
}

} // namespace Platform
