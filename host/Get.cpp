#include "host/Failure.h"
#include "host/Names.h"
#include "host/ObjectQuery.h"
#include "host/PropertyJson.h"
#include "host/PropertyText.h"
#include "host/Text.h"
#include "host/Verbs.h"

#include <vector>

namespace Host
{

namespace
{

std::string TextOf(const std::vector<PI::CProperty>& values, bool isOne, const Output& output)
{
    std::string lines;
    for (const PI::CProperty& property : values)
    {
        const std::string name = NameOrNumber(Vocabulary::propertyNames(), property.m_ID);
        const std::string line = (isOne ? "" : name + ": ") + Printable(ValueText(property));
        lines += (output.IsTerminal() ? Wrapped(line, output.Columns(), "  ") : line) + "\n";
    }
    return lines;
}

void WriteJson(const std::vector<PI::CProperty>& values, bool isOne, const Drive* drive,
               Output& output)
{
    JsonWriter json(output);
    if (!isOne)
        json.BeginArray();
    for (const PI::CProperty& property : values)
        WriteProperty(json, property, drive);
    if (!isOne)
        json.EndArray();
    json.Finish();
}

} // namespace

ExitCode Get(const Options& options, Output& output)
{
    const ObjectQuery object = ParseObject(options.object);
    std::vector<PI::_PROPERTY_ID> ids;
    for (const std::string& property : options.properties)
        ids.push_back(ParseProperty(property));
    const bool isOne = ids.size() == 1;

    PluginSession session(options.plugin);
    // An id is enough where nothing but the property is to be told.
    const Snapshot snapshot = object.id && !options.json ? Snapshot() : TakeSnapshot(session);
    const std::uint64_t objectId = ResolveObject(object, snapshot, session);
    std::vector<PI::CProperty> values;
    std::vector<std::string> failures;
    for (const PI::_PROPERTY_ID id : ids)
    {
        PI::CProperty property(id, false);
        const std::int32_t code = session.GetProperty(objectId, property);
        if (code == PI::ERR_SUCCESS)
            values.push_back(property);
        else
            failures.push_back(object.word + " gives no " +
                               NameOrNumber(Vocabulary::propertyNames(), id) + ": " +
                               CodeText(code));
    }
    if (isOne && !failures.empty())
        throw Failure(EXIT_PLUGIN, failures.front());
    if (options.json)
        WriteJson(values, isOne, FindDrive({objectId, object.word}, snapshot.drives), output);
    else
        output.Write(TextOf(values, isOne, output));
    for (const std::string& failure : failures)
        Complain(failure);
    return failures.empty() ? EXIT_DONE : EXIT_PLUGIN;
}

} // namespace Host
