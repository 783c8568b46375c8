#pragma once

#include "contracts/Export.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ZKTX
{

/// What is known of one disk that a plug-in asked: from its own questions, without another one.
struct CSystemDisk
{
    std::optional<std::uint32_t> m_Number; ///< nothing for a disk that did not tell it
    std::string m_Name;                    ///< the system's own, such as "sda"; empty: it has none
    std::string m_Path;                    ///< of the interface of a disk without a number

    /// Why the disk is not among the plug-in's drives, in words: "it cannot be opened (I/O error)".
    /// Empty for one that answered.
    std::string m_Silence;
    /// Whether it is silent for want of a right, or for not being an ATA disk: it may be well.
    bool m_MayBeWell = false;

    /// The 512 bytes of its last SMART page; empty when there was none.
    std::vector<std::uint8_t> m_SmartPage;
    std::uint64_t m_SmartPageAge = 0;     ///< milliseconds since it was read
    bool m_HasSmartFailed = false;        ///< the last SMART READ DATA gave no page
    std::optional<std::uint64_t> m_Bytes; ///< its length
};

class ZELKITEX_API CSystemDisks
{
  public:
    /// The disks below supported controllers, as the plug-in's last pass found them, by number;
    /// those without one come first. Any thread. To be called while no pass runs: before the worker
    /// starts, or in the callback.
    static void GetDisks(std::vector<CSystemDisk>& disks);
};

} // namespace ZKTX
