#include "host/ObjectQuery.h"

#include "host/Failure.h"
#include "host/Lists.h"
#include "host/Names.h"
#include "host/Topology.h"
#include "host/Words.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <string_view>

namespace
{

constexpr std::string_view diskWord = "disk";

std::string Folded(const std::string& text)
{
    std::string folded;
    for (const char c : text)
        folded += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return folded;
}

bool IsDiskWord(const std::string& word)
{
    return word.starts_with(diskWord) && word.size() > diskWord.size() &&
           word.find_first_not_of("0123456789", diskWord.size()) == std::string::npos;
}

/// What a mistyped word may have been.
std::vector<std::string> ObjectWords(const std::string& word)
{
    const std::string number = word.substr(word.find_last_not_of("0123456789") + 1);
    return {"plugin", "adapter", std::string(diskWord) + (number.empty() ? "0" : number)};
}

/// A name that the system gives a drive; empty where no drive has one.
std::string ExampleOfName(const std::vector<Host::Drive>& drives)
{
    const auto named = std::ranges::find_if(drives, [](const Host::Drive& drive)
                                            { return !drive.systemName.empty(); });
    return named == drives.end() ? "" : "a name such as " + named->systemName + ", ";
}

/// @param found  the first drive that the query stands for
/// @throws Failure when its serial number stands for others as well
void CheckUnique(const Host::ObjectQuery& query, const Host::Drive& found,
                 const std::vector<Host::Drive>& drives)
{
    if (found.label == query.word || found.systemName == query.word)
        return;
    std::vector<std::string> names;
    for (const Host::Drive& drive : drives)
        if (Folded(drive.serial) == Folded(query.word))
            names.push_back(NameOf(drive));
    if (names.size() > 1)
        throw Host::UsageFailure(std::to_string(names.size()) + " drives have the serial number " +
                                 query.word + ": " + Host::Shortened(names) +
                                 "; give the disk that is meant");
}

} // namespace

namespace Host
{

ObjectQuery ParseObject(const std::string& text)
{
    if (const auto id = ParseNumber(text))
        return {id, text};
    const std::string word = Folded(text);
    if (word == "plugin" || word == "adapter")
        return {std::nullopt, word};
    if (IsDiskWord(word))
        if (const auto number = ParseNumber(word.substr(diskWord.size())))
            return {std::nullopt, "disk" + std::to_string(*number)};
    return {std::nullopt, text};
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
    if (IsLabel(NormalName(text)))
        throw UsageFailure("'" + text +
                           "' is no property of the plug-in; show OBJECT and show --json have it");
    throw UsageFailure("'" + text + "' is no property" +
                       DidYouMean(SimilarNames(text, NamesOf(Vocabulary::propertyNames()))));
}

const Drive* FindDrive(const ObjectQuery& query, const std::vector<Drive>& drives)
{
    if (query.word.empty())
        return nullptr;
    const std::string folded = Folded(query.word);
    const auto found =
        std::find_if(drives.begin(), drives.end(),
                     [&](const Drive& drive)
                     {
                         return query.id
                                    ? drive.object != nullptr && drive.object->m_ID == *query.id
                                    : drive.label == query.word || drive.systemName == query.word ||
                                          Folded(drive.serial) == folded;
                     });
    return found == drives.end() ? nullptr : &*found;
}

std::uint64_t ResolveObject(const ObjectQuery& query, const Snapshot& snapshot,
                            PluginSession& session)
{
    if (query.id)
        return *query.id;
    for (const PI::CObject& object : snapshot.objects)
        if (WordOf(object) == query.word)
            return object.m_ID;
    const Drive* drive = FindDrive(query, snapshot.drives);
    if (drive != nullptr)
        CheckUnique(query, *drive, snapshot.drives);
    if (drive != nullptr && drive->object != nullptr)
        return drive->object->m_ID;
    const ExitCode reason = session.Result() == EXIT_DONE ? EXIT_USAGE : session.Result();
    if (drive != nullptr)
        throw Failure(reason, NameOf(*drive) + " does not answer: " + drive->silence);
    if (!IsDiskWord(query.word))
        throw UsageFailure("'" + query.word +
                           "' is no object: give plugin, adapter, disk0, disk1 ..., " +
                           ExampleOfName(snapshot.drives) + "a serial number or an id" +
                           DidYouMean(SimilarNames(Folded(query.word), ObjectWords(query.word))));
    std::string disks;
    for (const Drive& other : snapshot.drives)
        disks += (disks.empty() ? "" : ", ") + other.label;
    throw Failure(reason, "there is no " + query.word +
                              " (disks: " + (disks.empty() ? "none" : disks) + ")");
}

std::uint64_t ResolveObject(const ObjectQuery& query, PluginSession& session)
{
    return query.id ? *query.id : ResolveObject(query, TakeSnapshot(session), session);
}

} // namespace Host
