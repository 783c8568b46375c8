#include "host/PropertyText.h"

#include "host/Names.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string_view>
#include <utility>

namespace
{

using Host::ChoiceValue;
using Host::RangeValue;

constexpr std::string_view abbreviations[] = {
    "API",  "ASC",  "ASCQ",  "ATA",   "BBT",  "BBU",  "BGI",  "BIOS",  "CDB", "FQDN",  "GB",
    "GUID", "HBA",  "HDD",   "HS",    "ID",   "IP",   "IP6",  "IRQ",   "LBA", "LD",    "LDAP",
    "LED",  "LUN",  "MAC",   "MDC",   "MMIO", "NCQ",  "NIC",  "NVRAM", "OS",  "PCI",   "PD",
    "PFA",  "RAID", "RAID5", "RAID6", "RPM",  "SAS",  "SCSI", "SDRAM", "SED", "SMART", "SMTP",
    "SSD",  "TB",   "TCP",   "UART",  "UDP",  "UEFI", "URI",  "URL",   "VMD", "WWN",   "XOR",
};

constexpr std::pair<std::string_view, std::string_view> respelled[] = {
    {"POWERON", "power-on"},
    {"HOTSPARE", "hot spare"},
    {"HOTSWAP", "hot swap"},
    {"MOUNTPOINT", "mount point"},
    {"STRIPESIZE", "stripe size"},
    {"PATROLREAD", "patrol read"},
    {"STARTTIME", "start time"},
    {"ENDTIME", "end time"},
    {"USERNAME", "user name"},
    {"HOSTNAME", "host name"},
    {"IDS", "IDs"},
};

// Byte units, in steps of 1024.
constexpr const char* byteUnits[] = {"KB", "MB", "GB", "TB", "PB", "EB"};

std::string WordText(std::string_view word)
{
    if (std::find(std::begin(abbreviations), std::end(abbreviations), word) !=
        std::end(abbreviations))
        return std::string(word);
    for (const auto& [from, to] : respelled)
        if (from == word)
            return std::string(to);
    std::string text;
    for (const char c : word)
        text += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string UnitText(PI::_UNITS unit)
{
    switch (unit)
    {
    case PI::UNIT_NONE:
        return "";
    case PI::UNIT_DEGREES_CELSIUS:
        return " °C";
    case PI::UNIT_KILOBYTES:
        return " KB";
    case PI::UNIT_MEGABYTES:
        return " MB";
    case PI::UNIT_GIGABYTES:
        return " GB";
    case PI::UNIT_TERABYTES:
        return " TB";
    case PI::UNIT_HOURS:
        return " h";
    case PI::UNIT_SECONDS:
        return " s";
    case PI::UNIT_PERCENT:
        return " %";
    }
    return unit == 0 ? "" : " (unit " + std::to_string(unit) + ")";
}

// At most the given decimals, and none that are 0 at the end.
std::string DecimalText(double number, int decimals)
{
    if (!std::isfinite(number))
        return std::isnan(number) ? "no number" : number > 0 ? "infinite" : "-infinite";
    std::array<char, 400> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.*f", decimals, number);
    std::string text = buffer.data();
    if (text.find('.') != std::string::npos)
    {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.')
            text.pop_back();
    }
    return text;
}

std::string SizeText(std::uint64_t megabytes)
{
    double size = static_cast<double>(megabytes);
    std::size_t unit = 1;
    while (size >= 1024 && unit + 1 < std::size(byteUnits))
    {
        size /= 1024;
        ++unit;
    }
    return DecimalText(size, 1) + " " + byteUnits[unit];
}

std::string TimeText(std::uint64_t hours)
{
    constexpr std::uint64_t hoursPerDay = 24;
    constexpr double daysPerYear = 365.25;
    const std::uint64_t days = hours / hoursPerDay;
    if (static_cast<double>(days) >= 2 * daysPerYear)
        return DecimalText(static_cast<double>(days) / daysPerYear, 1) + " years";
    return std::to_string(days) + (days == 1 ? " day" : " days");
}

bool IsUnknownSize(const PI::CProperty& property, std::uint64_t number)
{
    return property.m_Unit == PI::UNIT_MEGABYTES &&
           number == std::numeric_limits<std::uint64_t>::max();
}

// A view mask of 0 hides a value that was not read. The key of an object is hidden from tables of
// values, but it is there.
bool IsHidden(const PI::CProperty& property)
{
    return property.m_ViewMask == 0 && property.m_ID != PI::PROP_UNIQUE_ID;
}

struct Texts
{
    std::string plain;
    std::string humanForm; ///< the same once more, easier to grasp; empty for none
};

struct ToTexts
{
    const PI::CProperty& property;

    Texts operator()(std::monostate) const { return {"-", ""}; }
    Texts operator()(const std::string& text) const { return {text, ""}; }
    Texts operator()(std::uint64_t number) const
    {
        const PI::_UNITS unit = property.m_Unit;
        if (IsUnknownSize(property, number))
            return {"unknown", ""};
        const std::string plain = std::to_string(number) + UnitText(unit);
        if (unit == PI::UNIT_MEGABYTES && number >= 1024)
            return {plain, SizeText(number)};
        if (unit == PI::UNIT_HOURS && number >= 48)
            return {plain, TimeText(number)};
        return {plain, ""};
    }
    Texts operator()(float real) const
    {
        return {DecimalText(Host::ShortestDouble(real), 2) + UnitText(property.m_Unit), ""};
    }
    Texts operator()(const ChoiceValue& choice) const
    {
        return {Host::NameOrNumber(Vocabulary::valueNames(), choice.value), ""};
    }
    Texts operator()(const RangeValue& range) const
    {
        return {std::to_string(range.value) + UnitText(property.m_Unit), ""};
    }
};

Texts TextsOf(const PI::CProperty& property)
{
    if (IsHidden(property))
        return {"-", ""};
    return std::visit(ToTexts{property}, Host::ValueOf(property));
}

} // namespace

namespace Host
{

PropertyValue ValueOf(const PI::CProperty& property)
{
    // The property gives its value to the question of the right form only.
    std::string text;
    if (property.GetValue(text) == PI::ERR_SUCCESS)
        return text;
    std::uint64_t number = 0;
    if (property.GetValue(number) == PI::ERR_SUCCESS)
        return number;
    float real = 0;
    if (property.GetValue(real) == PI::ERR_SUCCESS)
        return real;
    ChoiceValue choice{};
    if (property.GetValue(choice.value, choice.choices) == PI::ERR_SUCCESS)
        return choice;
    RangeValue range{};
    if (property.GetValue(range.value, range.minimum, range.maximum, range.step) == PI::ERR_SUCCESS)
        return range;
    return std::monostate();
}

bool IsUnknown(const PI::CProperty& property)
{
    std::uint64_t number = 0;
    return IsHidden(property) ||
           (property.GetValue(number) == PI::ERR_SUCCESS && IsUnknownSize(property, number));
}

std::string PropertyWords(PI::_PROPERTY_ID id)
{
    const auto row = Vocabulary::propertyNames().find(id);
    if (row == Vocabulary::propertyNames().end())
        return "Property " + std::to_string(id);
    std::string_view name = row->second;
    std::string words;
    while (!name.empty())
    {
        const std::size_t end = std::min(name.find('_'), name.size());
        words += (words.empty() ? "" : " ") + WordText(name.substr(0, end));
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    words[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(words[0])));
    return words;
}

std::string ValueText(const PI::CProperty& property)
{
    const Texts texts = TextsOf(property);
    return texts.humanForm.empty() ? texts.plain : texts.plain + " (" + texts.humanForm + ")";
}

std::string ShortValueText(const PI::CProperty& property)
{
    const Texts texts = TextsOf(property);
    const bool size = property.m_Unit == PI::UNIT_MEGABYTES;
    return size && !texts.humanForm.empty() ? texts.humanForm : texts.plain;
}

std::string DecimalSize(std::uint64_t bytes)
{
    constexpr const char* units[] = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
    double size = static_cast<double>(bytes);
    std::size_t unit = 0;
    // 999.6 GB would read 1000 GB.
    while (size >= 999.5 && unit + 1 < std::size(units))
    {
        size /= 1000;
        ++unit;
    }
    const int decimals = size >= 100 ? 0 : size >= 10 ? 1 : 2;
    return DecimalText(size, decimals) + " " + units[unit];
}

double ShortestDouble(float real)
{
    if (!std::isfinite(real))
        return real;
    std::array<char, 64> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), real).ptr;
    double result = 0;
    std::from_chars(buffer.data(), end, result);
    return result;
}

} // namespace Host
