#include "host/Failure.h"
#include "host/Json.h"
#include "host/Names.h"
#include "host/PluginSession.h"
#include "host/PropertyText.h"
#include "host/Text.h"
#include "host/Verbs.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace
{

// OBJECT as it was typed: an id, or a word that the topology gives an id to.
struct ObjectQuery
{
    std::optional<std::uint64_t> id;
    std::string word;
};

ObjectQuery ParseObject(const std::string& text)
{
    if (const auto id = Host::ParseNumber(text))
        return {id, text};
    constexpr std::string_view disk = "disk";
    std::string word;
    for (const char c : text)
        word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (word == "plugin" || word == "adapter")
        return {std::nullopt, word};
    const bool digit = word.size() > disk.size() &&
                       std::isdigit(static_cast<unsigned char>(word[disk.size()])) != 0;
    if (word.compare(0, disk.size(), disk) == 0 && digit)
        if (const auto number = Host::ParseNumber(word.substr(disk.size())))
            return {std::nullopt, "disk" + std::to_string(*number)};
    throw Host::UsageFailure("'" + text +
                             "' is no object: give plugin, adapter, disk0, disk1 ... or an id");
}

PI::_PROPERTY_ID ParseProperty(const std::string& text)
{
    if (const auto number = Host::ParseNumber(text))
    {
        if (*number > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()))
            throw Host::UsageFailure("property number " + text + " is out of range");
        return static_cast<PI::_PROPERTY_ID>(*number);
    }
    const std::string name = Host::NormalName(text);
    if (const auto number = Host::PropertyNumber(name))
        return static_cast<PI::_PROPERTY_ID>(*number);
    throw Host::UsageFailure(
        "'" + text + "' is no property" +
        Host::DidYouMean(Host::SimilarNames(name, Vocabulary::propertyNames())));
}

std::uint64_t ResolveObject(const ObjectQuery& query, Host::PluginSession& session)
{
    if (query.id)
        return *query.id;
    const Host::Objects objects = session.Topology();
    std::string disks;
    for (const PI::CObject& object : objects)
    {
        const std::string word = Host::WordOf(object);
        if (word == query.word)
            return object.m_ID;
        if (object.m_Type == PI::OBJECT_PHYSICAL_DRIVE)
            disks += (disks.empty() ? "" : ", ") + word;
    }
    throw Host::Failure(Host::EXIT_PLUGIN, "there is no " + query.word + " (disks: " +
                                               (disks.empty() ? "none" : disks) + ")");
}

} // namespace

namespace Host
{

void Get(const Options& options, Output& output)
{
    const ObjectQuery object = ParseObject(options.object);
    const PI::_PROPERTY_ID id = ParseProperty(options.property);

    PluginSession session(options.plugin);
    PI::CProperty property(id, false);
    const std::int32_t code = session.GetProperty(ResolveObject(object, session), property);
    if (code != PI::ERR_SUCCESS)
        throw Failure(EXIT_PLUGIN, object.word + " gives no " +
                                       NameOrNumber(Vocabulary::propertyNames(), id) + ": " +
                                       CodeText(code));
    output.Write(options.json ? JsonText(PropertyJson(property))
                              : Printable(ValueText(property)) + "\n");
}

} // namespace Host
