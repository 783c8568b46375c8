#include "contracts/zelPlug/Settings.h"

#include "contracts/zelKit/Text.h"
#include "contracts/zelPlug/ConfigFile.h"
#include "libraries/zelPlug/ConfigFolder.h"

#include <boost/convert.hpp>
#include <boost/convert/stream.hpp>

#include <algorithm>
#include <cstdio>
#include <locale>
#include <optional>

namespace PI
{
namespace
{

std::optional<std::uint32_t> ParseNumber(const std::string& text)
{
    boost::cnv::basic_stream<char> converter;
    converter(std::locale::classic())(std::dec)(std::skipws);
    const boost::optional<std::uint32_t> number = boost::convert<std::uint32_t>(text, converter);
    return number ? std::optional<std::uint32_t>(*number) : std::nullopt;
}

bool IsNumberFrom(const std::string& text, std::uint32_t minimum, std::uint32_t maximum)
{
    const std::optional<std::uint32_t> number = ParseNumber(text);
    return number && *number >= minimum && *number <= maximum && text.find('-') == text.npos;
}

bool IsValue(const Vocabulary::NumberSetting& setting, const std::string& text)
{
    return IsNumberFrom(text, setting.minimum, setting.maximum);
}

bool IsValue(const Vocabulary::TimeSetting&, const std::string& text)
{
    const auto colon = text.find(':');
    return colon != text.npos && IsNumberFrom(text.substr(0, colon), 0, 23) &&
           IsNumberFrom(text.substr(colon + 1), 0, 59);
}

std::string Complaint(const Vocabulary::NumberSetting& setting, const std::string& text)
{
    return std::string("no number of ") + setting.unit + " from " +
           std::to_string(setting.minimum) + " to " + std::to_string(setting.maximum) + "; " +
           std::to_string(NumberInEffect(setting, text)) + " is in effect";
}

std::string Complaint(const Vocabulary::TimeSetting& setting, const std::string& text)
{
    const CTimeOfDay time = TimeInEffect(setting, text);
    char inEffect[16];
    std::snprintf(inEffect, sizeof inEffect, "%02u:%02u", time.hour, time.minute);
    return std::string("no time of day from 0:00 to 23:59; ") + inEffect + " is in effect";
}

/// A text in quotes, so that blanks at its ends are seen.
std::string Quoted(const std::string& text)
{
    constexpr std::size_t longest = 60;
    if (text.size() <= longest)
        return "'" + text + "'";
    std::size_t end = longest;
    while (end > longest - 4 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end; // no half characters
    return "'" + text.substr(0, end) + "...'";
}

template <class Setting> void Check(const Setting& setting, std::vector<std::string>& lines)
{
    CConfigFile file;
    file.SetFileName(setting.file);
    std::string text;
    if (file.ReadKeyValue(setting.key, text, -1, -1) != ERR_SUCCESS || IsValue(setting, text))
        return;
    lines.push_back(ZKT::Misc::Printable(Internals::LocateConfigFile(setting.file).string() + ": " +
                                         setting.key + "=" + Quoted(text) + " is " +
                                         Complaint(setting, text)));
}

} // namespace

std::uint32_t NumberInEffect(const Vocabulary::NumberSetting& setting, const std::string& text)
{
    const std::uint32_t number = ParseNumber(text).value_or(setting.preset);
    return setting.isLimited ? std::clamp(number, setting.minimum, setting.maximum) : number;
}

CTimeOfDay TimeInEffect(const Vocabulary::TimeSetting& setting, const std::string& text)
{
    const auto colon = text.find(':');
    const std::string hour = text.substr(0, colon);
    const std::string minute = colon == std::string::npos ? text : text.substr(colon + 1);
    return {std::min(ParseNumber(hour).value_or(setting.presetHour), 23U),
            std::min(ParseNumber(minute).value_or(0), 59U)};
}

std::vector<std::string> FindWrongSettings()
{
    std::vector<std::string> lines;
    for (const Vocabulary::NumberSetting* setting : Vocabulary::numberSettings)
        Check(*setting, lines);
    for (const Vocabulary::TimeSetting* setting : Vocabulary::timeSettings)
        Check(*setting, lines);
    return lines;
}

} // namespace PI
