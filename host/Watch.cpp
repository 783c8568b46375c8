#include "host/EventInbox.h"
#include "host/EventText.h"
#include "host/Failure.h"
#include "host/PluginSession.h"
#include "host/PropertyText.h"
#include "host/Topology.h"
#include "host/Verbs.h"
#include "host/Wakeup.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

namespace
{

using Host::Wakeup;

[[noreturn]] void FailWithoutReader()
{
    throw Host::Failure(Host::EXIT_PLUGIN, "standard output: nobody reads it any more");
}

/// Writes a line as far as its reader takes it. @return false when the watch is to end
bool WriteLine(const std::string& line, const Wakeup& wakeup, Host::Output& output)
{
    for (std::string_view rest = line; !rest.empty();)
    {
        const Wakeup::Reason reason = wakeup.WaitForOutput();
        if (reason == Wakeup::Reason::End)
            return false;
        const std::string_view piece = rest.substr(0, Wakeup::pieceBytes);
        output.Write(piece);
        rest.remove_prefix(piece.size());
    }
    return true;
}

bool PrintEvents(Host::EventInbox& inbox, const Wakeup& wakeup, bool json, Host::Output& output)
{
    const std::vector<Host::ReceivedEvent> events = inbox.Take();
    return std::all_of(events.begin(), events.end(),
                       [&](const Host::ReceivedEvent& received)
                       {
                           const auto text = json ? Host::EventJson : Host::EventLine;
                           return WriteLine(text(received.event, received.present) + '\n', wakeup,
                                            output);
                       });
}

void TellStart(const Host::Objects& objects)
{
    const auto drives = std::count_if(objects.begin(), objects.end(),
                                      [](const PI::CObject& object)
                                      { return object.m_Type == PI::OBJECT_PHYSICAL_DRIVE; });
    std::string interval;
    for (const PI::CObject& object : objects)
        if (const auto* property = Host::FindProperty(object, PI::PROP_POLL_INTERVAL))
            interval = " every " + Host::ShortValueText(*property);
    std::fprintf(stderr, "watching %ld drive%s%s, Ctrl-C ends it\n", static_cast<long>(drives),
                 drives == 1 ? "" : "s", interval.c_str());
}

} // namespace

namespace Host
{

ExitCode Watch(const Options& options, Output& output)
{
    if (!output.IsOpen())
        FailWithoutReader();
    EventInbox inbox;
    PluginSession session(options.plugin);
    const Objects objects = session.Topology();
    if (!options.json)
        TellStart(objects);
    const Wakeup wakeup(inbox.Bell(), output, options.watchSeconds);
    inbox.Watch(session, objects);
    for (;;)
        switch (wakeup.WaitForInbox())
        {
        case Wakeup::Reason::Inbox:
            session.ReportTroubles();
            if (!PrintEvents(inbox, wakeup, options.json, output))
                return session.Result();
            break;
        default: // the end, or nobody reads any more
            return session.Result();
        }
}

} // namespace Host
