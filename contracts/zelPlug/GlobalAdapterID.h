#pragma once

#include "contracts/Export.h"

#include <cstdint>
#include <string>

namespace PI
{

/// Gives an adapter its number among all adapters of all hosts: the same number for the same host
/// and adapter at every call and every start, without any memory. Numbers are 0 to 2147483647.
class ZELPLUG_API CGlobalAdapterID
{
  public:
    explicit CGlobalAdapterID(const std::string& hostName);

    void SetAdapterUniqueID(std::uint64_t id) { m_AdapterUniqueID = id; }
    void GenerateUniqueAdapterNumber();
    std::int32_t GetGlobalAdapterNumber() const { return m_Number; } ///< -1 before it is generated

  private:
    std::string m_HostName;
    std::uint64_t m_AdapterUniqueID = 0;
    std::int32_t m_Number = -1;
};

} // namespace PI
