// What became different among the drives, from one look to the next.
#pragma once

#include "host/Health.h"
#include "host/Identity.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

/// What is remembered of a drive between two looks at it.
struct KnownDrive
{
    std::string label;
    std::string systemName;
    std::string model;
    std::string serial;
    std::string firmware;
    Standing standing = Standing::Good;
    std::string state;               ///< in plain words
    std::string reasons;             ///< of its standing
    std::string readings;            ///< of its health
    std::vector<std::string> causes; ///< of these
    /// Causes of trouble that came from readings, and that no later reading has ended.
    std::vector<std::string> unended;
    ErrorCounts errors;
};

Identity IdentityOf(const KnownDrive& drive);

/// Adds to what is seen of a drive what an earlier look at it told and this one does not: the name
/// of one that is silent, counts, and trouble that may stand while there are no readings.
void CarryOn(const KnownDrive& before, KnownDrive& now);

enum class ChangeKind
{
    Added,
    Gone,
    Replaced,  ///< another drive has the number
    Moved,     ///< the drive has another number
    Trouble,   ///< it began, or has one more cause
    Recovered, ///< from trouble
    Warning,   ///< a threshold is passed, or the rated writes are
    WarningEnded,
    ReadingsLost, ///< it cannot be judged any more, whatever it was before
    ReadingsBack,
    ErrorsRose, ///< pending sectors or uncorrectable errors
    Reminder,   ///< nothing changed: the plug-in repeats what stands
};

struct Change
{
    ChangeKind kind;
    KnownDrive drive;                   ///< as it is now; as it was, for one that is gone
    std::string from;                   ///< the old state, empty for a drive that was not there
    std::string to;                     ///< the new state
    std::string readings;               ///< what the new state rests on
    std::uint64_t time;                 ///< milliseconds since 1970-01-01 00:00 UTC
    std::optional<KnownDrive> replaced; ///< the drive that had the number

    /// Whether it is bad news that must not be missed.
    bool IsTrouble() const
    {
        return kind == ChangeKind::Trouble || kind == ChangeKind::Gone ||
               (kind == ChangeKind::Reminder && drive.standing == Standing::Trouble);
    }
};

KnownDrive Remembered(const Drive& drive, const Limits& limits);

/// Looks at the drives again and again. For one thread at a time.
class ChangeFinder
{
  public:
    explicit ChangeFinder(const Limits& limits) : m_Limits(limits) {}

    /// @return what is different since the last call: drives that are gone, then the others by
    ///         disk number; nothing at the first
    std::vector<Change> Look(const std::vector<Drive>& drives, std::uint64_t time);

    /// Of one of them, by its label, what stands; nothing when there is none.
    std::optional<Change> Reminder(const std::string& label, std::uint64_t time) const;

    /// The drives of the last look.
    const std::vector<KnownDrive>& Known() const { return m_Known; }

  private:
    const Limits m_Limits;
    bool m_HasLooked = false;
    std::vector<KnownDrive> m_Known;
};

} // namespace Host
