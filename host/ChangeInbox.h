// Changes and events on their way from the plug-in's worker thread to the thread that prints them.
#pragma once

#include "host/Changes.h"
#include "host/PluginSession.h"
#include "host/Snapshot.h"
#include "host/System.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace Host
{

/// What happened: an event of the plug-in, a change that this host found, or both at once where
/// they tell of the same.
struct Happening
{
    std::optional<PI::CEvent> event;
    /// Whether the object of the event was there once it had happened: what tells a drive that came
    /// from one that went, however late the event is read.
    bool present = false;
    /// Whether the event repeats what stood before: all that the plug-in tells at its report times.
    bool isReminder = false;
    /// Whether it came with the first pass, whose reminders tell what stood at the start.
    bool isFirstPass = false;
    std::optional<Change> change; ///< of a reminder, what stands
    /// The kind of another one that tells of it, too: of the going of a drive that is replaced or
    /// has moved, of further reminders of a drive.
    std::optional<ChangeKind> coveredBy;
};

/// Answers the doorbell on the worker's own thread, where no pass runs, and rings on. Outlives the
/// session that rings it.
class ChangeInbox
{
  public:
    using Listener = std::function<void(const std::vector<KnownDrive>&)>;

    /// @param onLook  is told of all drives at the start and whenever they were looked at, on
    ///                whatever thread does it; returns soon
    ChangeInbox(const Limits& limits, Listener onLook)
        : m_Finder(limits), m_OnLook(std::move(onLook))
    {
    }
    ChangeInbox(const ChangeInbox&) = delete;
    ChangeInbox& operator=(const ChangeInbox&) = delete;

    /// Starts the session's worker, which rings here from then on.
    /// @param start  what the session tells before that
    /// @throws Failure
    void Watch(PluginSession& session, const Snapshot& start);

    /// What has happened since the last call. @throws what went wrong at a doorbell
    std::vector<Happening> Take();

    /// Rings while something waits to be taken.
    const Doorbell& Bell() const { return m_Bell; }

  private:
    static void Answer(void* inbox, IPLUGINAPI* plugin);
    void Receive();
    Happening HappeningOf(const PI::CEvent& event);
    static void Add(Change change, std::vector<Happening>& happenings);
    void CompleteReminders(std::vector<Happening>& happenings) const;

    Doorbell m_Bell;
    PluginSession* m_Session = nullptr;
    std::uint64_t m_PluginId = 0;
    // The worker's alone after the start:
    std::set<std::uint64_t> m_Known; ///< objects that are there
    ChangeFinder m_Finder;
    const Listener m_OnLook;
    bool m_IsFirstPass = true;

    std::mutex m_Lock;
    std::vector<Happening> m_Happenings;
    std::exception_ptr m_Failure;
};

} // namespace Host
