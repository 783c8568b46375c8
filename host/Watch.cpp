#include "host/EventText.h"
#include "host/Failure.h"
#include "host/PluginSession.h"
#include "host/Topology.h"
#include "host/Verbs.h"
#include "host/Wakeup.h"

#include <algorithm>
#include <cstdio>

namespace
{

/// Fetches what is waiting and prints it.
void PrintEvents(Host::PluginSession& session, bool json, Host::Output& output)
{
    const std::vector<PI::CEvent> events = session.Events();
    if (events.empty())
        return;
    const Host::Objects objects = session.Topology();
    for (const PI::CEvent& event : events)
    {
        const bool present =
            std::any_of(objects.begin(), objects.end(),
                        [&](const PI::CObject& object) { return object.m_ID == event.m_ObjectID; });
        output.Write((json ? Host::EventJson(event, present) : Host::EventLine(event, present)) +
                     "\n");
    }
}

void TellStart(const Host::Objects& objects)
{
    const auto drives = std::count_if(objects.begin(), objects.end(),
                                      [](const PI::CObject& object)
                                      { return object.m_Type == PI::OBJECT_PHYSICAL_DRIVE; });
    std::fprintf(stderr, "watching %ld drive%s, Ctrl-C ends it\n", static_cast<long>(drives),
                 drives == 1 ? "" : "s");
}

} // namespace

namespace Host
{

void Watch(const Options& options, Output& output)
{
    Wakeup wakeup(options.watchSeconds); // signals wait for it from here on
    PluginSession session(options.plugin);
    if (!options.json)
        TellStart(session.Topology());
    session.StartWorker(&wakeup,
                        [](void* context, IPLUGINAPI*) { static_cast<Wakeup*>(context)->Ring(); });
    // At the end nothing is fetched that nobody rang for: a pass under way would hold that up.
    while (wakeup.Wait() == Wakeup::Reason::Doorbell)
        PrintEvents(session, options.json, output);
}

} // namespace Host
