#include "host/ChangeText.h"

#include "host/Calendar.h"
#include "host/ShowText.h"
#include "host/Text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace Host
{

namespace
{

std::string Formatted(std::uint64_t milliseconds, bool isUtc, const char* format)
{
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    const std::tm date = isUtc ? UniversalDate(seconds) : LocalDate(seconds);
    char text[64];
    return {text, std::strftime(text, sizeof text, format, &date)};
}

/// How far local time is ahead of universal time: " +0100".
std::string OffsetText(std::uint64_t milliseconds)
{
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    const std::tm local = LocalDate(seconds);
    const std::tm universal = UniversalDate(seconds);
    int days = local.tm_yday - universal.tm_yday;
    if (days > 1 || days < -1) // a year begins between the two
        days = days > 0 ? -1 : 1;
    const int minutes =
        days * 24 * 60 + (local.tm_hour - universal.tm_hour) * 60 + local.tm_min - universal.tm_min;
    char text[32];
    std::snprintf(text, sizeof text, " %c%02d%02d", minutes < 0 ? '-' : '+', std::abs(minutes) / 60,
                  std::abs(minutes) % 60);
    return text;
}

struct KindRow
{
    ChangeKind kind;
    const char* name;  ///< as programs read it
    const char* words; ///< for people
};

constexpr KindRow kinds[] = {
    {ChangeKind::Added, "added", "drive came"},
    {ChangeKind::Gone, "gone", "drive gone"},
    {ChangeKind::Replaced, "replaced", "drive replaced"},
    {ChangeKind::Moved, "moved", "drive has another number"},
    {ChangeKind::Trouble, "trouble", "drive in trouble"},
    {ChangeKind::Recovered, "recovered", "drive well again"},
    {ChangeKind::Warning, "warning", "warning"},
    {ChangeKind::WarningEnded, "warningEnded", "warning ended"},
    {ChangeKind::ReadingsLost, "readingsLost", "readings lost"},
    {ChangeKind::ReadingsBack, "readingsBack", "readings back"},
    {ChangeKind::ErrorsRose, "errorsRose", "errors rose"},
    {ChangeKind::Reminder, "reminder", "reminder"},
};

const KindRow& RowOf(ChangeKind kind)
{
    return *std::ranges::find(kinds, kind, &KindRow::kind);
}

} // namespace

std::string KindName(ChangeKind kind)
{
    return RowOf(kind).name;
}

std::string IsoTime(std::uint64_t milliseconds)
{
    char fraction[8];
    std::snprintf(fraction, sizeof fraction, ".%03uZ", static_cast<unsigned>(milliseconds % 1000));
    return Formatted(milliseconds, true, "%Y-%m-%dT%H:%M:%S") + fraction;
}

std::string LocalTime(std::uint64_t milliseconds)
{
    return Formatted(milliseconds, false, "%Y-%m-%d %H:%M:%S") + OffsetText(milliseconds);
}

std::string ChangeLine(const Change& change)
{
    const KnownDrive& drive = change.drive;
    std::string line = change.IsTrouble() ? troubleMark : noMark;
    line +=
        LocalTime(change.time) + "  " + RowOf(change.kind).words + ": " + Printable(drive.label);
    if (!drive.systemName.empty())
        line += " (" + Printable(drive.systemName) + ')';
    if (!drive.model.empty())
        line += "  " + Printable(drive.model);
    if (!drive.serial.empty())
        line += ", serial " + Printable(drive.serial);
    if (!drive.firmware.empty())
        line += ", firmware " + Printable(drive.firmware);
    return line + "; " + Printable(StatesText(change.from, change.to, change.readings));
}

std::string StatesText(const std::string& from, const std::string& to, const std::string& readings)
{
    return (from.empty() || from == to ? "" : "was " + from + ", ") + "is " + to +
           (readings.empty() ? "" : ": " + readings);
}

void WriteChangeMembers(JsonWriter& json, const Change& change)
{
    const KnownDrive& drive = change.drive;
    json.Member("kind", KindName(change.kind));
    json.Member("trouble", change.IsTrouble());
    json.Member("disk", drive.label);
    json.Member("device", TextOrNull(drive.systemName));
    json.Member("serial", TextOrNull(drive.serial));
    json.Member("model", TextOrNull(drive.model));
    json.Member("firmware", TextOrNull(drive.firmware));
    json.Member("from", TextOrNull(change.from));
    json.Member("to", TextOrNull(change.to));
    json.Member("readings", TextOrNull(change.readings));
    if (!change.replaced)
        return;
    json.Key("replaced");
    json.BeginObject();
    json.Member("serial", TextOrNull(change.replaced->serial));
    json.Member("model", TextOrNull(change.replaced->model));
    json.Member("firmware", TextOrNull(change.replaced->firmware));
    json.EndObject();
}

} // namespace Host
