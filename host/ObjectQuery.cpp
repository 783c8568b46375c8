#include "host/ObjectQuery.h"

#include "host/Failure.h"
#include "host/Names.h"
#include "host/Topology.h"

#include <cctype>
#include <limits>
#include <string_view>

namespace Host
{

ObjectQuery ParseObject(const std::string& text)
{
    if (const auto id = ParseNumber(text))
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
        if (const auto number = ParseNumber(word.substr(disk.size())))
            return {std::nullopt, "disk" + std::to_string(*number)};
    const std::string number = word.substr(word.find_last_not_of("0123456789") + 1);
    const std::vector<std::string> words{"plugin", "adapter",
                                         std::string(disk) + (number.empty() ? "0" : number)};
    throw UsageFailure("'" + text +
                       "' is no object: give plugin, adapter, disk0, disk1 ... or an id" +
                       DidYouMean(SimilarNames(word, words)));
}

PI::_PROPERTY_ID ParseProperty(const std::string& text)
{
    if (const auto number = ParseNumber(text))
    {
        if (*number > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()))
            throw UsageFailure("property number " + text + " is out of range");
        return static_cast<PI::_PROPERTY_ID>(*number);
    }
    if (const auto number = PropertyNumber(NormalName(text)))
        return static_cast<PI::_PROPERTY_ID>(*number);
    throw UsageFailure("'" + text + "' is no property" +
                       DidYouMean(SimilarNames(text, NamesOf(Vocabulary::propertyNames()))));
}

std::uint64_t ResolveObject(const ObjectQuery& query, PluginSession& session)
{
    if (query.id)
        return *query.id;
    const Objects objects = session.Topology();
    std::string disks;
    for (const PI::CObject& object : objects)
    {
        const std::string word = WordOf(object);
        if (word == query.word)
            return object.m_ID;
        if (object.m_Type == PI::OBJECT_PHYSICAL_DRIVE)
            disks += (disks.empty() ? "" : ", ") + word;
    }
    const ExitCode reason = session.Result() == EXIT_DONE ? EXIT_USAGE : session.Result();
    throw Failure(reason, "there is no " + query.word +
                              " (disks: " + (disks.empty() ? "none" : disks) + ")");
}

} // namespace Host
