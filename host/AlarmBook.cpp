#include "host/AlarmBook.h"

#include "host/Identity.h"

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>
#include <utility>

namespace Host
{

namespace
{

constexpr const char* goneCause = "gone";
constexpr std::uint64_t aDay = 24 * 3600 * 1000;
constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

} // namespace

AlarmBook::AlarmBook(std::uint32_t remindSeconds, Filter isChosen)
    : m_Remind(std::uint64_t{remindSeconds} * 1000), m_Quiet(m_Remind == 0 ? aDay : m_Remind),
      m_IsChosen(std::move(isChosen))
{
}

AlarmBook::Record AlarmBook::RecordOf(const StateEntry& entry)
{
    Record record;
    record.drive.label = ValueOf<std::string>(entry, "label");
    record.drive.model = ValueOf<std::string>(entry, "model");
    record.drive.serial = ValueOf<std::string>(entry, "serial");
    record.drive.firmware = ValueOf<std::string>(entry, "firmware");
    record.drive.state = ValueOf<std::string>(entry, "state");
    record.drive.unended = ValueOf<StateTexts>(entry, "unended");
    record.isGone = ValueOf<bool>(entry, "gone");
    record.isTold = ValueOf<bool>(entry, "told");
    record.isTroubled = record.isTold;
    record.isEarlier = true;
    for (const auto& [cause, time] : ValueOf<StateNumbers>(entry, "times"))
        record.tellings[cause] = {time, true};
    return record;
}

bool AlarmBook::Load(const State& state)
{
    try
    {
        Records records;
        for (const StateEntry& entry : state.drives)
            records.emplace(++m_LastNumber, RecordOf(entry));
        m_Records = std::move(records);
        return true;
    }
    catch (const std::invalid_argument&)
    {
        return false;
    }
}

State AlarmBook::Save() const
{
    State state;
    for (const auto& [number, record] : m_Records)
    {
        StateNumbers times;
        for (const auto& [cause, telling] : record.tellings)
            if (telling.isTold)
                times[cause] = telling.time;
        const KnownDrive& drive = record.drive;
        state.drives.push_back({{"label", drive.label},
                                {"model", drive.model},
                                {"serial", drive.serial},
                                {"firmware", drive.firmware},
                                {"state", drive.state},
                                {"unended", drive.unended},
                                {"gone", record.isGone},
                                {"told", record.isTold},
                                {"times", times}});
    }
    return state;
}

void AlarmBook::Look(const std::vector<KnownDrive>& present)
{
    std::vector<Identity> seen;
    for (const KnownDrive& drive : present)
        seen.push_back(IdentityOf(drive));
    std::vector<Record*> records;
    std::vector<Identity> remembered;
    for (auto& entry : m_Records)
        records.push_back(&entry.second);
    // Of several that look the same, those that are there are found before those that are gone.
    std::stable_partition(records.begin(), records.end(),
                          [](const Record* record) { return !record->isGone; });
    for (const Record* record : records)
        remembered.push_back(IdentityOf(record->drive));
    const auto found = FindAgain(seen, remembered);
    std::set<std::string> labelsOfNew;
    for (std::size_t i = 0; i < present.size(); ++i)
        if (found[i])
            Meet(*std::exchange(records[*found[i]], nullptr), present[i]);
        else
        {
            labelsOfNew.insert(present[i].label);
            Meet(m_Records[++m_LastNumber], present[i]);
        }
    for (Record* record : records)
        if (record != nullptr)
            Miss(*record, labelsOfNew.contains(record->drive.label));
}

void AlarmBook::Meet(Record& record, const KnownDrive& drive)
{
    KnownDrive known = drive;
    CarryOn(record.drive, known);
    record.isTroubled = known.standing == Standing::Trouble || !known.unended.empty();
    if (known.standing != Standing::Trouble)
        known.causes = known.unended; // without readings nobody can tell that it is well
    if (known.causes != record.drive.causes)
        record.from = record.drive.state;
    record.drive = std::move(known);
    record.isGone = record.isReplaced = record.isEarlier = false;
}

void AlarmBook::Miss(Record& record, bool hasSuccessor)
{
    if (record.isReplaced)
        return;
    const bool isAwaited = record.isTroubled || !record.isEarlier;
    if (hasSuccessor || !isAwaited)
    {
        record.isReplaced = true;
        record.isTroubled = false;
        return;
    }
    if (std::exchange(record.isGone, true))
        return;
    record.isEarlier = false;
    record.isTroubled = true;
    record.from = std::exchange(record.drive.state, goneCause);
    record.drive.reasons.clear();
    record.drive.causes = {goneCause};
}

std::uint64_t AlarmBook::AgeOf(const Record& record, std::uint64_t now) const
{
    std::uint64_t newest = 0;
    for (const std::string& cause : record.drive.causes)
    {
        const auto telling = record.tellings.find(cause);
        if (telling == record.tellings.end())
            return never;
        newest = std::max(newest, telling->second.time);
    }
    // A clock that was set back a little is no reason; one that was far ahead is.
    if (newest > now)
        return newest - now > m_Quiet ? never : 0;
    return now - newest;
}

std::optional<AlarmKind> AlarmBook::DueOf(const Record& record, std::uint64_t now) const
{
    if (!record.isTroubled)
        return record.isTold ? std::optional(AlarmKind::Ended) : std::nullopt;
    const std::uint64_t age = AgeOf(record, now);
    if (age == never || (!record.isTold && age >= m_Quiet))
        return AlarmKind::Started;
    // One that was gone before this run began is not waited for any more.
    const bool isReminder = record.isTold && m_Remind != 0 && age >= m_Remind && !record.isEarlier;
    return isReminder ? std::optional(AlarmKind::Reminder) : std::nullopt;
}

const char* AlarmBook::StateOf(const Record& record)
{
    if (record.isTroubled)
        return record.isGone ? goneCause : "trouble";
    return record.isReplaced ? "replaced" : "recovered";
}

std::vector<Alarm> AlarmBook::TakeDue(std::uint64_t now)
{
    Forget(now);
    std::vector<Alarm> due;
    for (auto& [number, record] : m_Records)
    {
        if (record.isUnderWay || !m_IsChosen(record.drive))
            continue;
        if (const auto kind = DueOf(record, now))
        {
            record.isUnderWay = true;
            due.push_back({*kind, StateOf(record), record.drive, record.from, now, number});
        }
    }
    return due;
}

void AlarmBook::Finish(const Alarm& alarm, bool isTold, std::uint64_t now)
{
    Record& record = m_Records.at(alarm.record);
    record.isUnderWay = false;
    if (alarm.kind == AlarmKind::Ended)
    {
        record.isTold = false; // for an end the command is run once, even if it fails
        return;
    }
    record.isTold = record.isTold || isTold;
    for (const std::string& cause : alarm.drive.causes)
        record.tellings[cause] = {now, isTold};
}

void AlarmBook::Forget(std::uint64_t now)
{
    const auto isNeeded = [](const Record& record)
    {
        const bool isAwaited = !(record.isEarlier && record.isGone);
        return record.isUnderWay || (isAwaited && (record.isTroubled || record.isTold));
    };
    for (auto& entry : m_Records)
        if (!isNeeded(entry.second))
            std::erase_if(entry.second.tellings,
                          [&](const auto& told) { return told.second.time + m_Quiet <= now; });
    std::erase_if(m_Records,
                  [&](const auto& entry)
                  {
                      const Record& record = entry.second;
                      return !isNeeded(record) &&
                             (record.isReplaced || (record.isEarlier && record.tellings.empty()));
                  });
}

} // namespace Host
