// What stands on the disks, kept so that no disk is read, and kept awake, without need.
#pragma once

#include "platform/linux/BlockProbe.h"
#include "platform/linux/DiskPort.h"
#include "platform/linux/KernelPicture.h"
#include "platform/linux/MountTable.h"

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Platform
{

/// Tells the partitions of a disk. Safe from any thread.
///
/// Reading a file system means reading from the disk. So it is done once, and again only when the
/// kernel has since written to the disk, which is found out when the kernel tells something new of
/// the disk, when something was mounted or unmounted, and every 300 seconds. A sleeping disk is not
/// read, and one that somebody has locked to change its partitions is left alone. What cannot be
/// read is tried again at the next of these occasions; until then what was read before stands.
class PLATFORM_API DiskContents
{
  public:
    DiskContents(SystemFolders folders, std::shared_ptr<DiskPort> port);

    /// Partitions in the order of their index, appended. A disk with a file system and no partition
    /// table has one partition: index 0, from the beginning, with the name of the disk.
    /// @param disk  of the last picture; another one means that the kernel tells something new
    void AppendPartitions(const std::shared_ptr<const KernelDisk>& disk,
                          const std::shared_ptr<const MountTable>& mounts,
                          std::chrono::steady_clock::time_point now,
                          std::vector<ZKTX::CSystemPartition>& partitions);

    /// Forgets the disks that the picture does not show.
    void Keep(const KernelPicture& picture);

  private:
    using Clock = std::chrono::steady_clock;

    /// What was read from a disk, and the state in which it was read.
    struct Remembered
    {
        std::shared_ptr<const KernelDisk> disk;
        std::shared_ptr<const MountTable> mounts;
        std::vector<std::string> targets; ///< where its partitions were mounted, the whole last
        std::uint64_t written = 0;        ///< sectors
        Clock::time_point looked;
        bool isComplete = false; ///< all of it could be read
        TableFacts table;
        std::map<std::string, ContentFacts> contents;   ///< by partition name
        std::vector<ZKTX::CSystemPartition> partitions; ///< what follows from all this
    };

    std::shared_ptr<const Remembered> FactsOf(const std::shared_ptr<const KernelDisk>& disk,
                                              const std::shared_ptr<const MountTable>& mounts,
                                              Clock::time_point now);
    static std::vector<ZKTX::CSystemPartition> MakePartitions(const Remembered& facts);
    void LookAgain(Remembered& facts) const;
    void Read(const KernelDisk& disk, Remembered& facts) const;

    SystemFolders m_Folders;
    std::shared_ptr<DiskPort> m_Port;
    std::mutex m_Lock; ///< guards the map, for moments
    std::map<std::string, std::shared_ptr<const Remembered>> m_Remembered; ///< by disk name
};

} // namespace Platform
