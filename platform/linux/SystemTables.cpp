#include "platform/linux/SystemTables.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <new>
#include <system_error>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace Platform
{

namespace
{

constexpr std::chrono::seconds Trust{60};
constexpr std::chrono::milliseconds MountTrust{100}; // one look at all disks asks once
constexpr std::size_t MountBytes = 16 << 20;

/// Whether one of two tables of /proc has changed since the last question. An answer ends the
/// change of both.
bool HaveChanged(const FileDescriptor& one, const FileDescriptor& other)
{
    std::array<pollfd, 2> questions = {{{one.Get(), POLLPRI, 0}, {other.Get(), POLLPRI, 0}}};
    return poll(questions.data(), questions.size(), 0) > 0 &&
           std::any_of(questions.begin(), questions.end(),
                       [](const pollfd& question)
                       { return (question.revents & (POLLPRI | POLLERR)) != 0; });
}

/// A tree that stands as it stood stays the same one to its walkers. So does a disk, and what is
/// remembered of it.
void KeepUnchanged(const KernelPicture& before, KernelPicture& picture)
{
    if (*before.tree == *picture.tree)
        picture.tree = before.tree;
    for (auto& [number, disk] : picture.disks)
    {
        const auto old = before.disks.find(number);
        if (old != before.disks.end() && disk->IsUnchanged(*old->second))
            disk = old->second;
    }
}

} // namespace

SystemTables::SystemTables(SystemFolders folders)
    : m_Folders(std::move(folders)),
      m_Announcements(OpenSystemFile(m_Folders.sys + "/kernel/uevent_seqnum")),
      m_MountChanges(OpenSystemFile(m_Folders.proc + "/self/mountinfo")),
      m_SwapChanges(OpenSystemFile(m_Folders.proc + "/swaps"))
{
}

/// How many changes of devices the kernel has announced since it runs.
std::optional<std::uint64_t> SystemTables::Announcements() const
{
    std::array<char, 32> text = {};
    const ssize_t count =
        m_Announcements.IsOpen() ? pread(m_Announcements.Get(), text.data(), text.size(), 0) : 0;
    std::uint64_t number = 0;
    if (count <= 0 || std::from_chars(text.data(), text.data() + count, number).ec != std::errc())
        return std::nullopt;
    return number;
}

std::shared_ptr<const KernelPicture> SystemTables::Refresh(Clock::time_point now)
{
    const std::lock_guard guard(m_Lock);
    // Before the picture: what is announced while it is read shows the next time.
    const auto announced = Announcements();
    if (!m_Picture || !announced || announced != m_Announced || now - m_Taken > Trust)
    {
        std::shared_ptr<KernelPicture> picture;
        try
        {
            picture = std::make_shared<KernelPicture>(ReadKernelPicture(m_Folders));
        }
        catch (const std::bad_alloc&)
        {
            // Nothing is known for lack of memory or descriptors, which is no word on the disks.
            if (!m_Picture)
                throw;
            return m_Picture;
        }
        m_Announced = announced;
        m_Taken = now;
        if (m_Picture)
            KeepUnchanged(*m_Picture, *picture);
        m_Picture = std::move(picture);
    }
    return m_Picture;
}

std::shared_ptr<const KernelPicture> SystemTables::Last()
{
    {
        const std::lock_guard guard(m_Lock);
        if (m_Picture)
            return m_Picture;
    }
    return Refresh(Clock::now());
}

std::shared_ptr<const MountTable> SystemTables::Mounts(Clock::time_point now)
{
    const std::lock_guard guard(m_Lock);
    bool haveChanged = !m_Mounts || m_MountsTakenWith != m_Picture;
    if (haveChanged || now - m_MountsAsked > MountTrust)
    {
        m_MountsAsked = now;
        haveChanged = HaveChanged(m_MountChanges, m_SwapChanges) || haveChanged;
    }
    if (haveChanged)
    {
        m_MountsTakenWith = nullptr; // as long as this has not come to its end
        try
        {
            m_Mounts = std::make_shared<const MountTable>(
                ReadSystemFile(m_Folders.proc + "/self/mountinfo", MountBytes).value_or(""),
                ReadSystemFile(m_Folders.proc + "/swaps", MountBytes).value_or(""));
            m_MountsTakenWith = m_Picture;
        }
        catch (const std::bad_alloc&)
        {
            if (!m_Mounts)
                throw;
        }
    }
    return m_Mounts;
}

} // namespace Platform
