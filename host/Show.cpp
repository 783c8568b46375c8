#include "host/Json.h"
#include "host/ObjectQuery.h"
#include "host/PluginSession.h"
#include "host/ShowText.h"
#include "host/Verbs.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace Host
{

namespace
{

/// The objects that are named, in full.
std::string NamedText(const Options& options, const Snapshot& snapshot, PluginSession& session,
                      const Style& style)
{
    const Limits limits = LimitsInEffect();
    std::string text;
    for (const std::string& name : options.objects)
    {
        const ObjectQuery query = ParseObject(name);
        const Drive* drive = FindDrive(query, snapshot.drives);
        if (drive != nullptr && drive->object == nullptr)
        {
            text += SilentDriveText(*drive, snapshot, limits, style);
            continue;
        }
        const std::uint64_t id = ResolveObject(query, snapshot, session);
        const auto object = std::ranges::find(snapshot.objects, id, &PI::CObject::m_ID);
        if (object == snapshot.objects.end())
            throw Failure(EXIT_USAGE, "there is no object with the id " + name);
        text += ObjectText(*object, snapshot, limits, style);
    }
    return text.empty() ? text : text.substr(1); // the first line is blank
}

} // namespace

ExitCode Show(const Options& options, Output& output)
{
    PluginSession session(options.plugin);
    // Written before the session ends: stopping a plug-in takes its time.
    if (options.json)
    {
        WriteTopologyJson(session.Topology(),
                          [&output](std::string_view text) { output.Write(text); });
        return session.Result();
    }
    const Snapshot snapshot = TakeSnapshot(session);
    const Style style{output.IsColoured(), output.Columns(), options.table};
    if (!options.objects.empty())
        output.Write(NamedText(options, snapshot, session, style));
    else if (options.all)
        output.Write(FullText(snapshot, LimitsInEffect(), style));
    else
        output.Write(OverviewText(snapshot, LimitsInEffect(), style));
    return session.Result();
}

} // namespace Host
