// Which partition is mounted where, from the kernel's tables.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Platform
{

/// Where partitions are in use at one moment.
class MountTable
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
    /// @param name    the kernel's name, such as "sda1". File systems over several devices have a
    ///                number of their own and name one of their devices.
    std::string TargetOf(std::string_view device, std::string_view name) const;

  private:
    struct Mount
    {
        std::string device;
        std::string name;
        std::string target;
        bool isOfRoot;
    };
    std::vector<Mount> m_Mounts;
    std::vector<std::string> m_Swaps; ///< names
};

} // namespace Platform
