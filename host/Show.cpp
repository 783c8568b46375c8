#include "host/ObjectQuery.h"
#include "host/PluginSession.h"
#include "host/ShowText.h"
#include "host/SnapshotJson.h"
#include "host/Verbs.h"

#include <algorithm>
#include <string>
#include <vector>

namespace Host
{

namespace
{

/// Of what is named, one of the two.
struct Named
{
    const PI::CObject* object;
    const Drive* silent;
    bool operator==(const Named&) const = default;
};

Named Find(const std::string& name, const Snapshot& snapshot, PluginSession& session)
{
    const ObjectQuery query = ParseObject(name);
    const Drive* drive = FindDrive(query, snapshot.drives);
    if (drive != nullptr && drive->object == nullptr)
        return {nullptr, drive};
    const std::uint64_t id = ResolveObject(query, snapshot, session);
    const auto object = std::ranges::find(snapshot.objects, id, &PI::CObject::m_ID);
    if (object == snapshot.objects.end())
        throw Failure(EXIT_USAGE, "there is no object with the id " + name);
    return {&*object, nullptr};
}

/// What is named, each of it once.
std::vector<Named> NamedOf(const std::vector<std::string>& names, const Snapshot& snapshot,
                           PluginSession& session)
{
    std::vector<Named> found;
    for (const std::string& name : names)
        if (const Named named = Find(name, snapshot, session);
            std::ranges::find(found, named) == found.end())
            found.push_back(named);
    return found;
}

/// The objects that are named, in full.
std::string NamedText(const Options& options, const Snapshot& snapshot, PluginSession& session,
                      const Style& style)
{
    const Limits limits = LimitsInEffect();
    std::string text;
    for (const Named& named : NamedOf(options.objects, snapshot, session))
        text += named.silent != nullptr ? SilentDriveText(*named.silent, snapshot, limits, style)
                                        : ObjectText(*named.object, snapshot, limits, style);
    return text.empty() ? text : text.substr(1); // the first line is blank
}

void WriteJson(const Options& options, const Snapshot& snapshot, PluginSession& session,
               Output& output)
{
    std::vector<const PI::CObject*> objects;
    for (const Named& named : NamedOf(options.objects, snapshot, session))
        if (named.object != nullptr)
            objects.push_back(named.object);
    const bool isNamed = !options.objects.empty();
    if (!isNamed)
        for (const PI::CObject& object : snapshot.objects)
            objects.push_back(&object);
    JsonWriter json(output);
    WriteSnapshot(json, snapshot, objects, isNamed || options.all, LimitsInEffect());
}

} // namespace

ExitCode Show(const Options& options, Output& output)
{
    PluginSession session(options.plugin);
    const Snapshot snapshot = TakeSnapshot(session);
    const Style style{output.IsColoured(), output.Columns(), options.table};
    // Written before the session ends: stopping a plug-in takes its time.
    if (options.json)
        WriteJson(options, snapshot, session, output);
    else if (!options.objects.empty())
        output.Write(NamedText(options, snapshot, session, style));
    else if (options.all)
        output.Write(FullText(snapshot, LimitsInEffect(), style));
    else
        output.Write(OverviewText(snapshot, LimitsInEffect(), style));
    return session.Result();
}

} // namespace Host
