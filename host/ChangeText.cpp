#include "host/ChangeText.h"

#include "host/ShowText.h"
#include "host/Text.h"

#include <cstdio>
#include <ctime>

namespace Host
{

namespace
{

std::string Formatted(std::uint64_t milliseconds, bool isUtc, const char* format)
{
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm date{};
#ifdef _WIN32
    isUtc ? gmtime_s(&date, &seconds) : localtime_s(&date, &seconds);
#else
    isUtc ? gmtime_r(&seconds, &date) : localtime_r(&seconds, &date);
#endif
    char text[64];
    return {text, std::strftime(text, sizeof text, format, &date)};
}

std::string IsoTime(std::uint64_t milliseconds)
{
    char fraction[8];
    std::snprintf(fraction, sizeof fraction, ".%03uZ", static_cast<unsigned>(milliseconds % 1000));
    return Formatted(milliseconds, true, "%Y-%m-%dT%H:%M:%S") + fraction;
}

std::string What(const Change& change)
{
    switch (change.kind)
    {
    case ChangeKind::Added:
        return "drive came";
    case ChangeKind::Gone:
        return "drive gone";
    case ChangeKind::Replaced:
        return "drive replaced";
    case ChangeKind::Moved:
        return "drive has another number";
    case ChangeKind::Trouble:
        return "drive in trouble";
    case ChangeKind::Recovered:
        return "drive well again";
    case ChangeKind::Warning:
        return "warning";
    case ChangeKind::WarningEnded:
        return "warning ended";
    case ChangeKind::ReadingsLost:
        return "readings lost";
    case ChangeKind::ReadingsBack:
        return "readings back";
    case ChangeKind::ErrorsRose:
        return "errors rose";
    }
    return "change";
}

} // namespace

std::string KindName(ChangeKind kind)
{
    switch (kind)
    {
    case ChangeKind::Added:
        return "added";
    case ChangeKind::Gone:
        return "gone";
    case ChangeKind::Replaced:
        return "replaced";
    case ChangeKind::Moved:
        return "moved";
    case ChangeKind::Trouble:
        return "trouble";
    case ChangeKind::Recovered:
        return "recovered";
    case ChangeKind::Warning:
        return "warning";
    case ChangeKind::WarningEnded:
        return "warningEnded";
    case ChangeKind::ReadingsLost:
        return "readingsLost";
    case ChangeKind::ReadingsBack:
        return "readingsBack";
    case ChangeKind::ErrorsRose:
        return "errorsRose";
    }
    return "change";
}

std::string LocalTime(std::uint64_t milliseconds)
{
    return Formatted(milliseconds, false, "%Y-%m-%d %H:%M:%S %z");
}

std::string ChangeLine(const Change& change)
{
    const KnownDrive& drive = change.drive;
    std::string line = change.IsTrouble() ? troubleMark : noMark;
    line += LocalTime(change.time) + "  " + What(change) + ": " + Printable(drive.label);
    if (!drive.systemName.empty())
        line += " (" + Printable(drive.systemName) + ')';
    if (!drive.model.empty())
        line += "  " + Printable(drive.model);
    if (!drive.serial.empty())
        line += ", serial " + Printable(drive.serial);
    if (!drive.firmware.empty())
        line += ", firmware " + Printable(drive.firmware);
    line += "; ";
    if (!change.from.empty() && change.from != change.to)
        line += "was " + Printable(change.from) + ", ";
    line += "is " + Printable(change.to);
    if (!change.readings.empty())
        line += ": " + Printable(change.readings);
    return line;
}

Json ChangeJson(const Change& change)
{
    const KnownDrive& drive = change.drive;
    return {
        {"kind", KindName(change.kind)}, {"trouble", change.IsTrouble()}, {"disk", drive.label},
        {"name", drive.systemName},      {"serial", drive.serial},        {"model", drive.model},
        {"firmware", drive.firmware},    {"from", change.from},           {"to", change.to},
        {"readings", change.readings},   {"time", IsoTime(change.time)},  {"timeMs", change.time},
    };
}

} // namespace Host
