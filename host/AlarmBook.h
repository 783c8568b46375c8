// Which drives are in trouble, and what the user's command was already run for.
#pragma once

#include "host/Changes.h"
#include "host/StateText.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

enum class AlarmKind
{
    Started,
    Reminder, ///< the trouble was told, and is still there
    Ended,
};

/// A reason to run the command.
struct Alarm
{
    AlarmKind kind;
    const char* state; ///< "trouble", "gone", "recovered", "replaced"
    KnownDrive drive;  ///< as it is now; as it was, for one that is gone
    std::string from;  ///< the state before
    std::uint64_t time;
    std::uint64_t record; ///< number of the drive's record in the book
};

/// Sees which drives there are and how they are, again and again, and tells which alarms are due:
/// one at a time for each drive. Trouble of the same causes is told again after the time of a
/// reminder only, also when it ended in between. For one thread at a time.
class AlarmBook
{
  public:
    using Filter = std::function<bool(const KnownDrive&)>;

    /// @param remindSeconds  0: no reminders; trouble that ended and returns is then told again
    ///                       when a day has passed
    /// @param isChosen       of which drives alarms are wanted
    AlarmBook(std::uint32_t remindSeconds, Filter isChosen);

    /// Takes over what an earlier run has told. @return false when it is not what Save gives
    bool Load(const State& state);
    State Save() const;

    /// @param present  all drives that there are
    void Look(const std::vector<KnownDrive>& present);

    /// What is due. Of a drive the next one comes after Finish.
    std::vector<Alarm> TakeDue(std::uint64_t now);

    /// @param isTold  whether the command ended well; if not, the trouble counts as not told, but
    ///                waits like one that is
    void Finish(const Alarm& alarm, bool isTold, std::uint64_t now);

  private:
    struct Telling
    {
        std::uint64_t time;
        bool isTold;
    };

    struct Record
    {
        KnownDrive drive;
        std::string from;
        bool isTroubled = false;
        bool isGone = false;
        bool isReplaced = false;
        bool isTold = false;     ///< that it is in trouble, and not yet that this has ended
        bool isUnderWay = false; ///< an alarm was taken and is not finished
        bool isEarlier = false;  ///< of an earlier run and not seen in this one
        std::map<std::string, Telling> tellings; ///< by cause
    };
    using Records = std::map<std::uint64_t, Record>;

    static Record RecordOf(const StateEntry& entry);
    void Meet(Record& record, const KnownDrive& drive);
    /// @param hasSuccessor  whether a drive that was not known has its number
    void Miss(Record& record, bool hasSuccessor);
    std::optional<AlarmKind> DueOf(const Record& record, std::uint64_t now) const;
    static const char* StateOf(const Record& record);
    void Forget(std::uint64_t now);
    std::uint64_t AgeOf(const Record& record, std::uint64_t now) const;

    const std::uint64_t m_Remind; ///< milliseconds
    const std::uint64_t m_Quiet;  ///< the same, or a day
    const Filter m_IsChosen;
    Records m_Records;
    std::uint64_t m_LastNumber = 0;
};

} // namespace Host
