// What a simulated machine was asked.
#pragma once

#include "platform/WindowsTypes.h"
#include "platform/simulated/DriveCall.h"

#include <cstdint>
#include <deque>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace Platform
{

struct JournalEntry
{
    DWORD disk;
    DriveCall call;

    bool operator==(const JournalEntry&) const = default;
};

/// Keeps the last entries in order, and a count for each disk and call for ever. Only disks of the
/// machine file are entered, so that it stays small. Safe from any thread.
class Journal
{
  public:
    static constexpr std::size_t EntriesKept = 65536;

    void Enter(DWORD disk, DriveCall call);
    std::vector<JournalEntry> Entries() const;
    std::uint64_t Count(DWORD disk, DriveCall call) const;
    void Clear();

  private:
    mutable std::mutex m_Lock;
    std::deque<JournalEntry> m_Entries;
    std::unordered_map<DWORD, PerDriveCall<std::uint64_t>> m_Counts;
};

} // namespace Platform
