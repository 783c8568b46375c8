// What the real machine remembers.
#pragma once

#include "platform/linux/DiskContents.h"
#include "platform/linux/DiskPort.h"
#include "platform/linux/MissingRights.h"
#include "platform/linux/SystemTables.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

namespace Platform
{

/// The last page of a kind that each disk gave, for the time that it sleeps. Safe from any thread.
class LastPages
{
  public:
    void Keep(DWORD number, const KernelDisk& disk, const Sector& page)
    {
        const std::lock_guard guard(m_Lock);
        Entry& entry = m_Pages[number];
        entry.identity = disk.identity;
        entry.page = page;
    }

    bool Find(DWORD number, const KernelDisk& disk, Sector& page) const
    {
        const std::lock_guard guard(m_Lock);
        const auto found = m_Pages.find(number);
        // Another disk may have the number by now.
        if (found == m_Pages.end() || disk.identity.empty() ||
            found->second.identity != disk.identity)
            return false;
        page = found->second.page;
        return true;
    }

  private:
    struct Entry
    {
        std::string identity;
        Sector page;
    };
    mutable std::mutex m_Lock;
    std::unordered_map<DWORD, Entry> m_Pages; ///< by disk number, of which there are few
};

/// What the machine and its open disks share. Safe from any thread.
struct SystemState
{
    SystemState(SystemFolders where, std::shared_ptr<DiskPort> calls)
        : folders(std::move(where)), port(std::move(calls)), tables(folders),
          contents(folders, port)
    {
    }

    const SystemFolders folders;
    const std::shared_ptr<DiskPort> port;
    SystemTables tables;
    DiskContents contents;
    LastPages identities;
    LastPages smartPages;
    MissingRights rights;

    /// The generic SCSI device of a disk, which is opened at the first question and kept as long as
    /// the kernel tells nothing new of the disk (before Linux 5.15, a minute). Negative when it
    /// cannot be opened, mostly for lack of rights: then the device file does.
    int GenericDeviceOf(const KernelDisk& disk);

    /// Opens the device file and takes note of a right that is missing.
    DWORD OpenFile(const KernelDisk& disk, FileDescriptor& file);

    /// Takes note of what the kernel made of an ATA command.
    DWORD NoteAnswer(const KernelDisk& disk, DWORD error);
};

} // namespace Platform
