#include "tarnis/Src/tarnis/Instance.h"

#include "tarnis/Src/tarnis/Module.h"
#include "tarnis/Src/tarnis/Settings.h"

namespace NAMESPACE_tarnis
{

IPLUGINAPI_IMPL::IPLUGINAPI_IMPL()
    : m_PollInterval(DefaultPollInterval), m_NextObjectId(0),
      m_Database(DatabaseORM::getDatabasePointer())
{
    m_ConfigFile.SetFileName(Vocabulary::pluginSettings);
    m_CustomConfigFile.SetFileName(Vocabulary::customSettings);

    const auto threshold = [this](const Vocabulary::NumberSetting& setting)
    { return ReadNumber(m_CustomConfigFile, setting, setting.preset); };
    m_WearLevelThreshold = threshold(Vocabulary::wearLevelThreshold);
    m_ReservedCellsThreshold = threshold(Vocabulary::reservedCellsThreshold);
    m_AverageUsageThreshold = threshold(Vocabulary::averageUsageThreshold);
    m_SnmpTrapReportTime1 = ReadTimeOfDay(m_CustomConfigFile, Vocabulary::snmpTrapReportTime1);
    m_SnmpTrapReportTime2 = ReadTimeOfDay(m_CustomConfigFile, Vocabulary::snmpTrapReportTime2);

    const std::uint32_t interval =
        ReadNumber(m_ConfigFile, Vocabulary::pollInterval, DefaultPollInterval);
    m_PollInterval = interval;
    m_PollIntervalVDS = ReadNumber(m_ConfigFile, Vocabulary::pollIntervalVDS, interval);
}

IPLUGINAPI_IMPL::~IPLUGINAPI_IMPL()
{
    // First of all: the thread object refers to nothing else here, but nothing may go before it.
    m_WorkerThread.reset();
}

std::uint64_t IPLUGINAPI_IMPL::NextObjectId()
{
    constexpr std::uint64_t moduleBits = static_cast<std::uint64_t>(ModuleNumber) << 48;
    static_assert(moduleBits == 0x0131000000000000);
    return m_NextObjectId++ | moduleBits;
}

} // namespace NAMESPACE_tarnis
