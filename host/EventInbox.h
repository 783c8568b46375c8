// Events on their way from the plug-in's worker thread to the thread that prints them.
#pragma once

#include "host/PluginSession.h"
#include "host/System.h"
#include "host/Topology.h"

#include <cstdint>
#include <exception>
#include <mutex>
#include <set>
#include <vector>

namespace Host
{

/// An event, and whether the object it speaks of was there once it had happened: what tells a drive
/// that came from one that went, however late the event is read.
struct ReceivedEvent
{
    PI::CEvent event;
    bool present;
};

/// Answers the doorbell on the worker's own thread, where fetching waits for no pass, and rings on.
/// Outlives the session that rings it.
class EventInbox
{
  public:
    EventInbox() = default;
    EventInbox(const EventInbox&) = delete;
    EventInbox& operator=(const EventInbox&) = delete;

    /// Starts the session's worker, which rings here from then on.
    /// @param objects  what the session tells before that
    /// @throws Failure
    void Watch(PluginSession& session, const Objects& objects);

    /// What has come since the last call. @throws what went wrong at a doorbell
    std::vector<ReceivedEvent> Take();

    /// Rings while something waits to be taken.
    const Doorbell& Bell() const { return m_Bell; }

  private:
    static void Answer(void* inbox, IPLUGINAPI* plugin);
    void Receive();

    Doorbell m_Bell;
    PluginSession* m_Session = nullptr;
    std::uint64_t m_PluginId = 0;
    std::set<std::uint64_t> m_Known; ///< objects that are there; the worker's alone after the start
    std::mutex m_Lock;
    std::vector<ReceivedEvent> m_Events;
    std::exception_ptr m_Failure;
};

} // namespace Host
