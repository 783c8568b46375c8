#include "platform/simulated/Journal.h"

namespace Platform
{

void Journal::Enter(DWORD disk, DriveCall call)
{
    const std::lock_guard guard(m_Lock);
    if (m_Entries.size() == EntriesKept)
        m_Entries.pop_front();
    m_Entries.push_back({disk, call});
    ++m_Counts[disk][PositionOf(call)];
}

std::vector<JournalEntry> Journal::Entries() const
{
    const std::lock_guard guard(m_Lock);
    return {m_Entries.begin(), m_Entries.end()};
}

std::uint64_t Journal::Count(DWORD disk, DriveCall call) const
{
    const std::lock_guard guard(m_Lock);
    const auto found = m_Counts.find(disk);
    return found == m_Counts.end() ? 0 : found->second[PositionOf(call)];
}

void Journal::Clear()
{
    const std::lock_guard guard(m_Lock);
    m_Entries.clear();
    m_Counts.clear();
}

} // namespace Platform
