#include "tarnis/Src/tarnis/Instance.h"

#include "tarnis/Src/tarnis/Module.h"
#include "tarnis/Src/tarnis/Settings.h"

#include <algorithm>

namespace NAMESPACE_tarnis
{

IPLUGINAPI_IMPL::IPLUGINAPI_IMPL()
    : m_PollInterval(DefaultPollInterval), m_NextObjectId(0),
      m_Database(DatabaseORM::getDatabasePointer())
{
    m_ConfigFile.SetFileName("tarnis.ini");
    m_CustomConfigFile.SetFileName("CustomOpts.ini");

    const auto threshold = [this](const char* key, std::uint32_t preset)
    { return ReadNumber(m_CustomConfigFile, key, preset, preset); };
    m_WearLevelThreshold = threshold("WearLevelThreshold", 95);
    m_ReservedCellsThreshold = threshold("ReservedCellsThreshold", 10);
    m_AverageUsageThreshold = threshold("AverageUsageThreshold", 60);
    m_SnmpTrapReportTime1 = ReadTimeOfDay(m_CustomConfigFile, "SnmpTrapReportTime1", 11);
    m_SnmpTrapReportTime2 = ReadTimeOfDay(m_CustomConfigFile, "SnmpTrapReportTime2", 23);

    const std::uint32_t interval = std::clamp(
        ReadNumber(m_ConfigFile, "PollInterval", DefaultPollInterval, DefaultPollInterval),
        MinimumPollInterval, MaximumPollInterval);
    m_PollInterval = interval;
    m_PollIntervalVDS = ReadNumber(m_ConfigFile, "PollInterval_VDS", interval, DefaultPollInterval);
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
