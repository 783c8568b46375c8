#include "host/AlarmText.h"

#include "host/ChangeText.h"

#include <cctype>
#include <cstddef>
#include <string_view>

namespace Host
{

namespace
{

/// Without any character that a shell, a mail header or a terminal could take for a command, and
/// without a dash at the beginning, which would make it an option.
std::string Harmless(std::string_view text)
{
    constexpr std::string_view signs = " ._:/+,;()%-";
    constexpr std::size_t longest = 500;
    std::string safe;
    for (const char c : text.substr(0, longest))
        safe += std::isalnum(static_cast<unsigned char>(c)) != 0 || signs.find(c) != signs.npos
                    ? c
                    : '_';
    if (safe.starts_with('-'))
        safe.front() = '_';
    return safe;
}

/// "drive in trouble: disk3 (sdb), MODEL, serial S; was in use, is failing: endurance used 99 %"
std::string Line(const Alarm& alarm)
{
    const KnownDrive& drive = alarm.drive;
    std::string line = alarm.kind == AlarmKind::Ended      ? "trouble ended: "
                       : alarm.kind == AlarmKind::Reminder ? "still in trouble: "
                                                           : "drive in trouble: ";
    line += drive.label;
    if (!drive.systemName.empty())
        line += " (" + drive.systemName + ')';
    if (!drive.model.empty())
        line += ", " + drive.model;
    if (!drive.serial.empty())
        line += ", serial " + drive.serial;
    return line + "; " + StatesText(alarm.from, drive.state, drive.reasons);
}

} // namespace

const char* KindName(AlarmKind kind)
{
    switch (kind)
    {
    case AlarmKind::Started:
        return "started";
    case AlarmKind::Reminder:
        return "reminder";
    default:
        return "ended";
    }
}

Variables VariablesOf(const Alarm& alarm)
{
    const KnownDrive& drive = alarm.drive;
    Variables variables{
        {"", KindName(alarm.kind)},     {"_STATE", alarm.state},
        {"_DISK", drive.label},         {"_DEVICE", drive.systemName},
        {"_MODEL", drive.model},        {"_SERIAL", drive.serial},
        {"_FIRMWARE", drive.firmware},  {"_FROM", alarm.from},
        {"_TO", drive.state},           {"_READINGS", drive.reasons},
        {"_TIME", IsoTime(alarm.time)}, {"_TIME_MS", std::to_string(alarm.time)},
        {"_LINE", Line(alarm)},
    };
    for (auto& [name, value] : variables)
    {
        name = "TARNIS_ALARM" + name;
        value = Harmless(value);
    }
    return variables;
}

} // namespace Host
