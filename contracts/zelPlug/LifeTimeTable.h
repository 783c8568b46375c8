#pragma once

#include "contracts/Export.h"

#include <cstdint>
#include <span>
#include <string>

namespace PI
{

/// What is known of the life of a SATA or NVMe SSD model.
struct CSATALifeTimeData
{
    std::string m_Vendor;           ///< in capitals, as the system shows it
    std::string m_Model;            ///< without a vendor word, but for one INNODISK row
    std::uint32_t m_CompareLength;  ///< leading characters that stand for the model, 0: all
    std::uint64_t m_RatedEndurance; ///< terabytes written; program/erase cycles of INNODISK rows
    std::uint32_t m_LifeTimeFlag; ///< 1: INNODISK models that tell their remaining life themselves
};

/// The same of a SAS model.
struct CSASLifeTimeData
{
    std::string m_Vendor;
    std::string m_Model;
    std::uint64_t m_RatedEndurance; ///< terabytes written
    std::uint32_t m_LifeTimeFlag;
};

/// The tables, whose rows stand in vocabulary/rows/. They live as long as the library and never
/// change; any thread may read them.
ZELPLUG_API std::span<const CSATALifeTimeData> SataLifeTimeTable();
ZELPLUG_API std::span<const CSASLifeTimeData> SasLifeTimeTable();
ZELPLUG_API std::span<const CSATALifeTimeData> NvmeLifeTimeTable();

} // namespace PI
