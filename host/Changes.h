// What became different among the drives, from one look to the next.
#pragma once

#include "host/Health.h"

#include <cstdint>
#include <map>
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
    std::vector<std::string> causes; ///< of these
    ErrorCounts errors;
};

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
};

struct Change
{
    ChangeKind kind;
    KnownDrive drive;     ///< as it is now; as it was, for one that is gone
    std::string from;     ///< the old state, empty for a drive that was not there
    std::string to;       ///< the new state
    std::string readings; ///< what the new state rests on
    std::uint64_t time;   ///< milliseconds since 1970-01-01 00:00 UTC

    /// Whether it is bad news that must not be missed.
    bool IsTrouble() const { return kind == ChangeKind::Trouble || kind == ChangeKind::Gone; }
};

/// Whether all that was wrong with the drive was its silence, and that is over.
bool HasSpokenAgain(const KnownDrive& before, const KnownDrive& now);

KnownDrive Remembered(const Drive& drive, const Limits& limits);

/// Looks at the drives again and again. For one thread at a time.
class ChangeFinder
{
  public:
    explicit ChangeFinder(const Limits& limits) : m_Limits(limits) {}

    /// @return what is different since the last call, by disk number; nothing at the first
    std::vector<Change> Look(const std::vector<Drive>& drives, std::uint64_t time);

    /// The drives of the last look. One that is silent is the one that had its number.
    std::vector<KnownDrive> Known() const;

  private:
    const Limits m_Limits;
    bool m_HasLooked = false;
    std::map<std::string, KnownDrive> m_Known; ///< by label
};

} // namespace Host
