#include "host/Failure.h"
#include "host/Names.h"
#include "host/ObjectQuery.h"
#include "host/PropertyJson.h"
#include "host/PropertyText.h"
#include "host/Text.h"
#include "host/Topology.h"
#include "host/Verbs.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace
{

std::optional<int> WholeNumber(const std::string& text)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

/// Puts the text into the property in the form that it has: within its bounds, or as a text.
void PutValue(PI::CProperty& property, const std::string& name, const std::string& text)
{
    const Host::PropertyValue old = Host::ValueOf(property);
    const auto* range = std::get_if<Host::RangeValue>(&old);
    if (range == nullptr)
    {
        property.SetValue(text);
        return;
    }
    const std::optional<int> value = WholeNumber(text);
    if (!value || *value < range->minimum || *value > range->maximum)
        throw Host::UsageFailure(name + " takes a whole number from " +
                                 std::to_string(range->minimum) + " to " +
                                 std::to_string(range->maximum) + ", not '" + text + "'");
    property.SetValue(*value, range->minimum, range->maximum, range->step);
}

/// Tells what of the object can be set in place of this.
[[noreturn]] void FailNotSettable(Host::PluginSession& session, std::uint64_t objectId,
                                  const std::string& word, PI::_PROPERTY_ID id)
{
    const Host::Objects objects = session.Topology();
    const auto object = std::ranges::find(objects, objectId, &PI::CObject::m_ID);
    bool isThere = false;
    std::string settable;
    if (object != objects.end())
    {
        isThere = Host::FindProperty(*object, id) != nullptr;
        for (const PI::CProperty& property : object->m_Properties)
            if (property.IsSettable())
                settable += (settable.empty() ? "" : ", ") +
                            Host::NameOrNumber(Vocabulary::propertyNames(), property.m_ID);
    }
    const std::string name = Host::NameOrNumber(Vocabulary::propertyNames(), id);
    throw Host::Failure(
        Host::EXIT_PLUGIN,
        (isThere ? name + " of " + word + " can be read but not set" : word + " has no " + name) +
            (settable.empty() ? "; nothing of " + word + " can be set"
                              : "; of " + word + " can be set: " + settable));
}

} // namespace

namespace Host
{

ExitCode Set(const Options& options, Output& output)
{
    const ObjectQuery object = ParseObject(options.object);
    const PI::_PROPERTY_ID id = ParseProperty(options.property);
    const std::string name = NameOrNumber(Vocabulary::propertyNames(), id);

    PluginSession session(options.plugin);
    const std::uint64_t objectId = ResolveObject(object, session);
    PI::CProperty property(id, true);
    if (session.GetProperty(objectId, property) == PI::ERR_SUCCESS)
    {
        if (!property.IsSettable())
            FailNotSettable(session, objectId, object.word, id);
        PutValue(property, name, options.value);
    }
    else
        property.SetValue(options.value); // what is wrong with it, the plug-in says best
    const std::int32_t code = session.SetProperty(objectId, property);
    if (code == PI::ERR_INVALID_PROPERTY)
        FailNotSettable(session, objectId, object.word, id);
    if (code == PI::ERR_WRITE_ACCESS_DENIED)
        throw Failure(EXIT_PLUGIN, name +
                                       " could not be saved, the settings file cannot be "
                                       "written: " +
                                       CodeText(code));
    if (code != PI::ERR_SUCCESS)
        throw Failure(EXIT_PLUGIN,
                      name + " of " + object.word + " cannot be set: " + CodeText(code));

    PI::CProperty inForce(id, true);
    session.GetProperty(objectId, inForce);
    if (options.json)
    {
        JsonWriter json(output);
        WriteProperty(json, inForce, nullptr);
        json.Finish();
    }
    else
        output.Write(Printable(ValueText(inForce)) + "\n");
    return EXIT_DONE;
}

} // namespace Host
