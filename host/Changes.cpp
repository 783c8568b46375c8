#include "host/Changes.h"

#include "host/Lists.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace Host
{

namespace
{

/// "failing", "in use, warning"
std::string StateOf(const KnownDrive& drive)
{
    switch (drive.standing)
    {
    case Standing::NotJudged:
        return drive.state + ", not judged";
    case Standing::Warning:
        return drive.state + ", warning";
    default:
        return drive.state;
    }
}

bool HasNewCause(const KnownDrive& before, const KnownDrive& now)
{
    return std::ranges::any_of(
        now.causes, [&](const std::string& cause)
        { return std::ranges::find(before.causes, cause) == before.causes.end(); });
}

std::optional<ChangeKind> KindOf(const KnownDrive& before, const KnownDrive& now)
{
    const bool isNew = before.standing != now.standing;
    const bool wasTroubled = before.standing == Standing::Trouble || !before.unended.empty();
    switch (now.standing)
    {
    case Standing::Trouble:
        return isNew || HasNewCause(before, now) ? std::optional(ChangeKind::Trouble)
                                                 : std::nullopt;
    case Standing::NotJudged:
        if (!isNew)
            return std::nullopt;
        return wasTroubled && now.unended.empty() ? ChangeKind::Recovered
                                                  : ChangeKind::ReadingsLost;
    case Standing::Warning:
        if (wasTroubled)
            return ChangeKind::Recovered;
        return isNew || HasNewCause(before, now) ? std::optional(ChangeKind::Warning)
                                                 : std::nullopt;
    default:
        if (wasTroubled)
            return ChangeKind::Recovered;
        if (!isNew)
            return std::nullopt;
        return before.standing == Standing::NotJudged ? ChangeKind::ReadingsBack
                                                      : ChangeKind::WarningEnded;
    }
}

std::string FullName(const KnownDrive& drive)
{
    return drive.model + ", serial " + drive.serial + ", firmware " + drive.firmware;
}

/// Collects the changes of one look.
class Comparison
{
  public:
    explicit Comparison(std::uint64_t time) : m_Time(time) {}

    void AddGone(const KnownDrive& drive)
    {
        Add(ChangeKind::Gone, drive, StateOf(drive), "gone", "");
    }

    /// @param replaced  the drive that had its number and is not there any more, or null
    void AddNew(const KnownDrive& drive, const KnownDrive* replaced)
    {
        Add(replaced != nullptr ? ChangeKind::Replaced : ChangeKind::Added, drive,
            replaced != nullptr ? FullName(*replaced) : "", StateOf(drive), drive.reasons);
        if (replaced != nullptr)
            m_Changes.back().replaced = *replaced;
        if (drive.standing == Standing::Trouble)
            Add(ChangeKind::Trouble, drive, "", StateOf(drive), drive.reasons);
    }

    void CompareSame(const KnownDrive& before, const KnownDrive& now)
    {
        if (before.label != now.label)
            Add(ChangeKind::Moved, now, before.label, now.label, "");
        if (!before.firmware.empty() && before.firmware != now.firmware)
        {
            Add(ChangeKind::Replaced, now, FullName(before), StateOf(now), now.reasons);
            m_Changes.back().replaced = before;
        }
        if (const auto kind = KindOf(before, now))
            Add(*kind, now, StateOf(before), StateOf(now), now.reasons);
        if (const auto risen = RisenErrors(before.errors, now.errors); !risen.empty())
            Add(ChangeKind::ErrorsRose, now, StateOf(before), StateOf(now), Joined(risen));
    }

    std::vector<Change> Take() { return std::move(m_Changes); }

  private:
    void Add(ChangeKind kind, const KnownDrive& drive, std::string from, std::string to,
             std::string readings)
    {
        if (readings.empty())
            readings = drive.readings;
        m_Changes.push_back(
            {kind, drive, std::move(from), std::move(to), std::move(readings), m_Time, {}});
    }

    std::uint64_t m_Time;
    std::vector<Change> m_Changes;
};

std::vector<Identity> IdentitiesOf(const std::vector<KnownDrive>& drives)
{
    std::vector<Identity> identities;
    for (const KnownDrive& drive : drives)
        identities.push_back(IdentityOf(drive));
    return identities;
}

/// @param found  for each drive that is there now, its position among those of the last look
std::vector<Change> Compare(const std::vector<KnownDrive>& before,
                            const std::vector<KnownDrive>& now,
                            const std::vector<std::optional<std::size_t>>& found,
                            std::uint64_t time)
{
    std::map<std::string, const KnownDrive*> missing; // by label
    for (const KnownDrive& drive : before)
        missing.emplace(drive.label, &drive);
    for (const auto& position : found)
        if (position)
            missing.erase(before[*position].label);
    std::vector<const KnownDrive*> replaced(now.size(), nullptr);
    for (std::size_t i = 0; i < now.size(); ++i)
        if (const auto old = missing.find(now[i].label); !found[i] && old != missing.end())
        {
            replaced[i] = old->second;
            missing.erase(old);
        }
    Comparison comparison(time);
    for (const auto& entry : missing)
        comparison.AddGone(*entry.second);
    for (std::size_t i = 0; i < now.size(); ++i)
        if (found[i])
            comparison.CompareSame(before[*found[i]], now[i]);
        else
            comparison.AddNew(now[i], replaced[i]);
    return comparison.Take();
}

} // namespace

Identity IdentityOf(const KnownDrive& drive)
{
    return KeptIdentity(drive.label, drive.model, drive.serial);
}

void CarryOn(const KnownDrive& before, KnownDrive& now)
{
    if (IdentityOf(now).IsNameless())
    {
        now.model = before.model;
        now.serial = before.serial;
        now.firmware = before.firmware;
    }
    now.errors.FillFrom(before.errors);
    const bool isSilent = now.causes == std::vector<std::string>{Cause::silence};
    if (isSilent || now.standing == Standing::NotJudged)
        now.unended = before.unended;
}

KnownDrive Remembered(const Drive& drive, const Limits& limits)
{
    const Judgement judgement = JudgementOf(drive, limits);
    KnownDrive known{drive.label,
                     drive.systemName,
                     drive.model,
                     drive.serial,
                     drive.firmware,
                     judgement.standing,
                     StateWords(drive),
                     Joined(judgement.reasons),
                     Joined(HealthReadings(drive)),
                     judgement.causes,
                     {},
                     drive.errors};
    if (judgement.standing == Standing::Trouble && drive.IsAnswering())
        known.unended = judgement.causes;
    return known;
}

std::optional<Change> ChangeFinder::Reminder(const std::string& label, std::uint64_t time) const
{
    const auto drive = std::ranges::find(m_Known, label, &KnownDrive::label);
    if (drive == m_Known.end())
        return std::nullopt;
    return Change{ChangeKind::Reminder, *drive, "", StateOf(*drive), drive->reasons, time, {}};
}

std::vector<Change> ChangeFinder::Look(const std::vector<Drive>& drives, std::uint64_t time)
{
    std::vector<KnownDrive> now;
    for (const Drive& drive : drives)
        now.push_back(Remembered(drive, m_Limits));
    const auto found = FindAgain(IdentitiesOf(now), IdentitiesOf(m_Known));
    for (std::size_t i = 0; i < now.size(); ++i)
        if (found[i])
            CarryOn(m_Known[*found[i]], now[i]);
    const std::vector<KnownDrive> before = std::exchange(m_Known, now);
    return std::exchange(m_HasLooked, true) ? Compare(before, now, found, time)
                                            : std::vector<Change>();
}

} // namespace Host
