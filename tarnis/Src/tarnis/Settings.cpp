#include "tarnis/Src/tarnis/Settings.h"

#include <boost/convert.hpp>
#include <boost/convert/stream.hpp>

#include <algorithm>
#include <locale>

namespace NAMESPACE_tarnis
{

std::optional<std::uint32_t> ParseNumber(const std::string& text)
{
    boost::cnv::basic_stream<char> converter;
    converter(std::locale::classic())(std::dec)(std::skipws);
    const boost::optional<std::uint32_t> number = boost::convert<std::uint32_t>(text, converter);
    return number ? std::optional<std::uint32_t>(*number) : std::nullopt;
}

ZKTX::CSystemDate_Win ParseTimeOfDay(const std::string& text, std::uint32_t defaultHour)
{
    const auto colon = text.find(':');
    const std::string hour = text.substr(0, colon);
    const std::string minute = colon == std::string::npos ? text : text.substr(colon + 1);

    ZKTX::CSystemDate_Win time{};
    time.m_Hour = std::min(ParseNumber(hour).value_or(defaultHour), 23U);
    time.m_Minute = std::min(ParseNumber(minute).value_or(0), 59U);
    return time;
}

std::optional<std::string> ReadText(const PI::CConfigFile& file, const char* key)
{
    std::string text;
    if (file.ReadKeyValue(key, text, -1, -1) != PI::ERR_SUCCESS)
        return std::nullopt;
    return text;
}

std::uint32_t ReadNumber(const PI::CConfigFile& file, const char* key, std::uint32_t missing,
                         std::uint32_t invalid)
{
    const std::optional<std::string> text = ReadText(file, key);
    return text ? ParseNumber(*text).value_or(invalid) : missing;
}

ZKTX::CSystemDate_Win ReadTimeOfDay(const PI::CConfigFile& file, const char* key,
                                    std::uint32_t defaultHour)
{
    if (const std::optional<std::string> text = ReadText(file, key))
        return ParseTimeOfDay(*text, defaultHour);
    ZKTX::CSystemDate_Win time{};
    time.m_Hour = defaultHour;
    return time;
}

} // namespace NAMESPACE_tarnis
