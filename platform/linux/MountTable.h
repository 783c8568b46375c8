// Which partition is mounted where, from the kernel's tables.
#pragma once

#include "contracts/Export.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace Platform
{

/// Where partitions are in use at one moment.
class PLATFORM_API MountTable
{
  public:
    MountTable() = default;

    /// @param mountInfo  content of /proc/self/mountinfo; lines that are not understood do not
    /// count
    /// @param swaps      content of /proc/swaps
    MountTable(std::string_view mountInfo, std::string_view swaps);

    /// Where the device is mounted: the first mount of its root if there is one, else the first of
    /// another folder of it; "[SWAP]" for swap space; empty when it is not in use.
    /// @param device  "major:minor"
    /// @param name    the kernel's name, such as "sda1". A btrfs file system has a number of its
    ///                own and names one of its devices.
    std::string TargetOf(const std::string& device, const std::string& name) const;

  private:
    struct Mount
    {
        std::string target;
        bool isOfRoot = false;
    };
    std::unordered_map<std::string, Mount> m_ByDevice;
    std::unordered_map<std::string, Mount> m_ByName; ///< of file systems over several devices
    std::unordered_set<std::string> m_Swaps;         ///< names
};

} // namespace Platform
