// The kernel's tables, read again only when they may have changed.
#pragma once

#include "platform/linux/KernelPicture.h"
#include "platform/linux/MountTable.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

namespace Platform
{

/// Keeps the last picture of the disks and the last mount table. Safe from any thread.
class PLATFORM_API SystemTables
{
  public:
    explicit SystemTables(SystemFolders folders);

    /// The disks as they are now. The same picture as before while the kernel has announced no
    /// change of any device; one of more than a minute is not trusted any more. When there is no
    /// memory or descriptor left to read it, the last one stands; @throws std::bad_alloc without
    /// one.
    std::shared_ptr<const KernelPicture> Refresh(std::chrono::steady_clock::time_point now);

    /// The last picture; takes one if there is none.
    std::shared_ptr<const KernelPicture> Last();

    /// What is mounted now, or was a tenth of a second ago: the same table as long as nothing was
    /// mounted or unmounted. @throws std::bad_alloc as above
    std::shared_ptr<const MountTable> Mounts(std::chrono::steady_clock::time_point now);

  private:
    using Clock = std::chrono::steady_clock;

    std::optional<std::uint64_t> Announcements() const;

    SystemFolders m_Folders;
    FileDescriptor m_Announcements; ///< these are kept open, which makes a look at them cheap
    FileDescriptor m_MountChanges;
    FileDescriptor m_SwapChanges;

    std::mutex m_Lock; ///< guards what follows, also while the kernel's files are read
    std::shared_ptr<const KernelPicture> m_Picture;
    std::optional<std::uint64_t> m_Announced;
    Clock::time_point m_Taken;
    Clock::time_point m_MountsAsked;
    std::shared_ptr<const MountTable> m_Mounts;
    std::shared_ptr<const KernelPicture> m_MountsTakenWith;
};

} // namespace Platform
