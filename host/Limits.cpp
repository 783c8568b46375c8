#include "contracts/zelPlug/ConfigFile.h"
#include "contracts/zelPlug/Settings.h"
#include "host/Health.h"

namespace Host
{

namespace
{

std::uint32_t InEffect(const Vocabulary::NumberSetting& setting)
{
    PI::CConfigFile file;
    file.SetFileName(setting.file);
    std::string text;
    return file.ReadKeyValue(setting.key, text, -1, -1) == PI::ERR_SUCCESS
               ? PI::NumberInEffect(setting, text)
               : setting.preset;
}

} // namespace

Limits LimitsInEffect()
{
    return {InEffect(Vocabulary::wearLevelThreshold), InEffect(Vocabulary::reservedCellsThreshold)};
}

} // namespace Host
