#pragma once

#include "contracts/Export.h"

#include <cstdint>

namespace ZKTX
{

/// A date and time of day: eight 32-bit words.
struct CSystemDate_Win
{
    std::uint32_t m_Year;      ///< such as 2026
    std::uint32_t m_Month;     ///< 1 to 12
    std::uint32_t m_Day;       ///< 1 to 31
    std::uint32_t m_DayOfWeek; ///< 0 Sunday to 6 Saturday
    std::uint32_t m_DayOfYear; ///< 1 to 366
    std::uint32_t m_Hour;      ///< 0 to 23
    std::uint32_t m_Minute;    ///< 0 to 59
    std::uint32_t m_Second;    ///< 0 to 60
};
static_assert(sizeof(CSystemDate_Win) == 8 * 4);

class ZELKITEX_API CSystemTime_Win
{
  public:
    /// Breaks a time as from ZKT::Misc::now into a date in the machine's local time. A time beyond
    /// the year 9999 gives the last second of that year.
    static void GetDate(std::uint64_t milliseconds, CSystemDate_Win& date);
};

} // namespace ZKTX
