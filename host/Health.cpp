#include "host/Health.h"

#include "host/Names.h"
#include "host/SmartNames.h"

#include <cstdio>

namespace Host
{

namespace
{

// The plug-in's own limits of the status.
constexpr int usedLimit = 96;
constexpr int reserveLimit = 9;
constexpr std::uint64_t terabyte = 1'000'000'000'000;

std::string AttributeText(std::uint8_t id)
{
    return id == 0 ? "" : " (attribute " + std::to_string(id) + ')';
}

/// "spare sectors used up (attribute 5 at its threshold)", "reserve left 4 % (attribute 232)"
std::string ReserveText(const Drive& drive)
{
    const std::uint8_t id = drive.smart.m_ReserveID;
    const PI::CSmartAttribute* attribute = FindAttribute(drive, id);
    if (*drive.reserve == 0 && attribute != nullptr)
    {
        const std::string failure = SmartFailure(id);
        return (failure.empty() ? "reserve left 0 %" : failure) + " (attribute " +
               std::to_string(id) + (attribute->m_Threshold == 0 ? ")" : " at its threshold)");
    }
    return "reserve left " + std::to_string(*drive.reserve) + " %" + AttributeText(id);
}

std::string UsedText(const Drive& drive)
{
    return "endurance used " + std::to_string(*drive.used) + " %" +
           AttributeText(drive.smart.m_EnduranceID);
}

std::string WritesText(const Drive& drive)
{
    // Rounded as in sizes.
    const std::uint64_t half = *drive.bytesWritten % terabyte / (terabyte / 2);
    return std::to_string(*drive.bytesWritten / terabyte + half) + " of " +
           std::to_string(drive.ratedTerabytes) + " TB rated writes";
}

bool AreRatedWritesExceeded(const Drive& drive)
{
    return drive.ratedTerabytes != 0 && drive.bytesWritten &&
           *drive.bytesWritten / terabyte >= drive.ratedTerabytes;
}

void Add(Judgement& judgement, const char* cause, const std::string& reason)
{
    judgement.causes.emplace_back(cause);
    judgement.reasons.push_back(reason);
}

std::string EndOfLifeText(const Drive& drive)
{
    std::string reason = "expected to last until " + drive.lastsUntil;
    if (drive.used)
        reason += ", " + UsedText(drive);
    else if (AreRatedWritesExceeded(drive))
        reason += ", " + WritesText(drive);
    return reason;
}

void AddTrouble(const Drive& drive, Judgement& judgement)
{
    if (!drive.IsAnswering())
    {
        Add(judgement, Cause::silence, drive.silence);
        return;
    }
    if (drive.reserve && *drive.reserve <= reserveLimit)
        Add(judgement, Cause::reserve, ReserveText(drive));
    if (drive.used && *drive.used >= usedLimit)
        Add(judgement, Cause::endurance, UsedText(drive));
    if (judgement.reasons.empty() && !drive.lastsUntil.empty())
        Add(judgement, Cause::endOfLife, EndOfLifeText(drive));
    if (judgement.reasons.empty())
        Add(judgement, Cause::status, "the drive gives no reading that tells why");
}

void AddWarnings(const Drive& drive, const Limits& limits, Judgement& judgement)
{
    if (drive.used && *drive.used > static_cast<std::int64_t>(limits.used))
        Add(judgement, Cause::wearThreshold,
            UsedText(drive) + ", threshold " + std::to_string(limits.used));
    if (drive.reserve && *drive.reserve < static_cast<std::int64_t>(limits.reserve))
        Add(judgement, Cause::reserveThreshold,
            ReserveText(drive) + ", threshold " + std::to_string(limits.reserve));
    if (AreRatedWritesExceeded(drive))
        Add(judgement, Cause::ratedWrites,
            WritesText(drive) + (drive.used ? ", by its own count " + UsedText(drive) : ""));
}

/// A drive of which none of these is known could fail without a warning.
bool IsJudged(const Drive& drive)
{
    return drive.used || drive.reserve || !drive.lastsUntil.empty();
}

std::string WhyNotJudged(const Drive& drive)
{
    if (!drive.IsAnswering())
        return drive.silence;
    if (!drive.temperature && !drive.hours && !drive.hasPage)
        return "it gives no SMART page";
    return "nothing in its SMART page tells its wear or its reserve";
}

void Remark(const Drive& drive, bool isInTrouble, std::vector<std::string>& remarks)
{
    const auto counted = [&](const std::optional<std::uint64_t>& count, const char* what)
    {
        if (count.value_or(0) != 0)
            remarks.push_back(std::to_string(*count) + ' ' + what);
    };
    counted(drive.errors.pendingSectors, "pending sectors (attribute 197)");
    counted(drive.errors.uncorrectableErrors, "reported uncorrectable errors (attribute 187)");
    if (isInTrouble && AreRatedWritesExceeded(drive) && drive.used)
        remarks.push_back(WritesText(drive));
    if (drive.isSsd && drive.IsAnswering() && drive.reserve && !drive.used &&
        drive.lastsUntil.empty())
        remarks.emplace_back("no reading of its wear, so no warning of it would come");
    if (drive.temperature && *drive.temperature >= hotDegrees)
    {
        char text[32];
        std::snprintf(text, sizeof text, "%.0f degrees Celsius",
                      static_cast<double>(*drive.temperature));
        remarks.emplace_back(text);
    }
    if (!drive.sharesPageWith.empty())
        remarks.push_back(SharedPageRemark(drive.sharesPageWith));
}

} // namespace

Health HealthOf(const PI::CObject& object)
{
    const auto status = ChoiceOf(object, PI::PROP_STATUS);
    if (!status)
        return Health::Good;
    switch (*status)
    {
    case PI::VAL_OK:
    case PI::VAL_AVAILABLE:
    case PI::VAL_OPERATIONAL:
        return Health::Good;
    case PI::VAL_FAILED:
    case PI::VAL_FAILED_SMART:
    case PI::VAL_FAILED_MISSING:
        return Health::Failed;
    default:
        return Health::Warning;
    }
}

std::string StatusWords(int status)
{
    switch (status)
    {
    case PI::VAL_OK:
        return "good";
    case PI::VAL_AVAILABLE:
        return "free";
    case PI::VAL_OPERATIONAL:
        return "in use";
    case PI::VAL_AVAILABLE_SMART:
        return "failing";
    case PI::VAL_FAILED:
    case PI::VAL_FAILED_SMART:
        return "failed";
    case PI::VAL_FAILED_MISSING:
        return "missing";
    case PI::VAL_WARNING:
        return "warning";
    default:
        return {};
    }
}

std::string StateWords(const Drive& drive)
{
    if (!drive.IsAnswering())
        return "no answer";
    const std::string words = StatusWords(drive.status);
    return words.empty() ? NameOrNumber(Vocabulary::valueNames(), drive.status) : words;
}

std::vector<std::string> HealthReadings(const Drive& drive)
{
    std::vector<std::string> readings;
    if (drive.reserve)
        readings.push_back(ReserveText(drive));
    if (drive.used)
        readings.push_back(UsedText(drive));
    return readings;
}

std::string SharedPageRemark(const std::string& other)
{
    return "judged by the SMART page of " + other +
           " or its own: numbers that are 256 apart share one";
}

Judgement JudgementOf(const Drive& drive, const Limits& limits)
{
    Judgement judgement;
    const bool isInTrouble =
        drive.IsAnswering() ? drive.object != nullptr && HealthOf(*drive.object) != Health::Good
                            : !drive.mayBeWell;
    Remark(drive, isInTrouble, judgement.remarks);
    if (isInTrouble)
    {
        judgement.standing = Standing::Trouble;
        AddTrouble(drive, judgement);
        return judgement;
    }
    AddWarnings(drive, limits, judgement);
    if (!judgement.reasons.empty())
        judgement.standing = Standing::Warning;
    else if (!IsJudged(drive))
    {
        judgement.standing = Standing::NotJudged;
        Add(judgement, Cause::noReading, WhyNotJudged(drive));
    }
    return judgement;
}

} // namespace Host
