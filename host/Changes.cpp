#include "host/Changes.h"

#include "host/Lists.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace Host
{

namespace
{

/// Whether it has been silent ever since it was looked at.
bool IsNameless(const KnownDrive& drive)
{
    return drive.serial.empty() && drive.model.empty();
}

bool IsSameDrive(const KnownDrive& one, const KnownDrive& other)
{
    return std::tie(one.serial, one.model, one.firmware) ==
           std::tie(other.serial, other.model, other.firmware);
}

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

std::optional<ChangeKind> KindOf(const KnownDrive& old, const KnownDrive& drive)
{
    const Standing before = old.standing;
    const Standing now = drive.standing;
    const bool isBad = now == Standing::Trouble || now == Standing::Warning;
    if (before == now && !(isBad && HasNewCause(old, drive)))
        return std::nullopt;
    if (now == Standing::Trouble)
        return ChangeKind::Trouble;
    if (now == Standing::NotJudged && !HasSpokenAgain(old, drive))
        return ChangeKind::ReadingsLost;
    if (before == Standing::Trouble)
        return ChangeKind::Recovered;
    if (before == Standing::NotJudged && now == Standing::Good)
        return ChangeKind::ReadingsBack;
    return now == Standing::Warning ? ChangeKind::Warning : ChangeKind::WarningEnded;
}

/// Collects the changes of one look.
class Comparison
{
  public:
    explicit Comparison(std::uint64_t time) : m_Time(time) {}

    void Add(ChangeKind kind, const KnownDrive& drive, std::string from, std::string to,
             std::string readings)
    {
        m_Changes.push_back(
            {kind, drive, std::move(from), std::move(to), std::move(readings), m_Time});
    }

    void CompareSame(const KnownDrive& before, const KnownDrive& now)
    {
        if (const auto kind = KindOf(before, now))
            Add(*kind, now, StateOf(before), StateOf(now), now.reasons);
        if (const auto risen = RisenErrors(before.errors, now.errors); !risen.empty())
            Add(ChangeKind::ErrorsRose, now, StateOf(before), StateOf(now), Joined(risen));
    }

    std::vector<Change> Take() { return std::move(m_Changes); }

  private:
    std::uint64_t m_Time;
    std::vector<Change> m_Changes;
};

} // namespace

bool HasSpokenAgain(const KnownDrive& before, const KnownDrive& now)
{
    return before.causes == std::vector<std::string>{Cause::silence} && now.causes != before.causes;
}

KnownDrive Remembered(const Drive& drive, const Limits& limits)
{
    const Judgement judgement = JudgementOf(drive, limits);
    return {drive.label,      drive.systemName,   drive.model,       drive.serial,
            drive.firmware,   judgement.standing, StateWords(drive), Joined(judgement.reasons),
            judgement.causes, drive.errors};
}

std::vector<KnownDrive> ChangeFinder::Known() const
{
    std::vector<KnownDrive> drives;
    for (const auto& entry : m_Known)
        drives.push_back(entry.second);
    return drives;
}

std::vector<Change> ChangeFinder::Look(const std::vector<Drive>& drives, std::uint64_t time)
{
    std::map<std::string, KnownDrive> now;
    for (const Drive& drive : drives)
    {
        KnownDrive known = Remembered(drive, m_Limits);
        // A drive that does not answer is the one that had the number.
        if (const auto before = m_Known.find(drive.label);
            !drive.IsAnswering() && before != m_Known.end())
        {
            known.model = before->second.model;
            known.serial = before->second.serial;
            known.firmware = before->second.firmware;
        }
        // Counts that are not told this time are compared with the next ones.
        if (const auto before = m_Known.find(drive.label);
            before != m_Known.end() && IsSameDrive(before->second, known))
            known.errors.FillFrom(before->second.errors);
        now.emplace(drive.label, std::move(known));
    }
    const std::map<std::string, KnownDrive> before = std::exchange(m_Known, now);
    if (!std::exchange(m_HasLooked, true))
        return {};

    const auto findIn = [](const std::map<std::string, KnownDrive>& among, const KnownDrive& drive)
    {
        const auto found = std::ranges::find_if(
            among, [&](const auto& entry)
            { return !drive.serial.empty() && IsSameDrive(entry.second, drive); });
        return found == among.end() ? nullptr : &found->second;
    };
    Comparison comparison(time);
    for (const auto& [label, drive] : before)
        if (!now.contains(label) && findIn(now, drive) == nullptr)
            comparison.Add(ChangeKind::Gone, drive, StateOf(drive), "gone", "");
    for (const auto& [label, drive] : now)
    {
        const auto old = before.find(label);
        if (old != before.end() && (IsSameDrive(old->second, drive) || IsNameless(old->second)))
            comparison.CompareSame(old->second, drive);
        else if (const KnownDrive* elsewhere = findIn(before, drive);
                 elsewhere != nullptr && !now.contains(elsewhere->label))
        {
            comparison.Add(ChangeKind::Moved, drive, elsewhere->label, label, "");
            comparison.CompareSame(*elsewhere, drive);
        }
        else
        {
            const bool isNew = old == before.end();
            comparison.Add(isNew ? ChangeKind::Added : ChangeKind::Replaced, drive,
                           isNew ? ""
                                 : old->second.model + ", serial " + old->second.serial +
                                       ", firmware " + old->second.firmware,
                           StateOf(drive), drive.reasons);
            if (drive.standing == Standing::Trouble)
                comparison.Add(ChangeKind::Trouble, drive, "", StateOf(drive), drive.reasons);
        }
    }
    return comparison.Take();
}

} // namespace Host
