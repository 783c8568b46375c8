#include "tarnis/Src/tarnis/Settings.h"

#include <string>

namespace NAMESPACE_tarnis
{

std::uint32_t ReadNumber(const PI::CConfigFile& file, const Vocabulary::NumberSetting& setting,
                         std::uint32_t missing)
{
    std::string text;
    return file.ReadKeyValue(setting.key, text, -1, -1) == PI::ERR_SUCCESS
               ? PI::NumberInEffect(setting, text)
               : missing;
}

ZKTX::CSystemDate_Win ReadTimeOfDay(const PI::CConfigFile& file,
                                    const Vocabulary::TimeSetting& setting)
{
    std::string text;
    PI::CTimeOfDay inEffect{setting.presetHour, 0};
    if (file.ReadKeyValue(setting.key, text, -1, -1) == PI::ERR_SUCCESS)
        inEffect = PI::TimeInEffect(setting, text);
    ZKTX::CSystemDate_Win time{};
    time.m_Hour = inEffect.hour;
    time.m_Minute = inEffect.minute;
    return time;
}

} // namespace NAMESPACE_tarnis
