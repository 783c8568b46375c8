// The parts of a machine file, one reader for each.
#pragma once

#include "platform/simulated/JsonValue.h"
#include "platform/simulated/MachineFile.h"
#include "platform/simulated/Pages.h"

#include <cstddef>
#include <unordered_map>

namespace Platform
{

inline constexpr DWORD HighestDiskNumber = 0x7FFFFFFF;
inline constexpr std::size_t LongestService = 199; ///< a buffer of 200 bytes has room for it

/// "devices": fills the tree and the interfaces, and enters the disks that it names.
void ReadDevices(const JsonValue& top, MachineRecord& machine);

/// "disks", item by item.
class DisksReader
{
  public:
    DisksReader(PageFiles& files, MachineRecord& machine) : m_Files(files), m_Machine(machine) {}

    void Read(const JsonValue& disk, std::size_t position);

  private:
    PageFiles& m_Files;
    MachineRecord& m_Machine;
    std::unordered_map<DWORD, std::size_t> m_Positions; ///< in the list, by number
};

} // namespace Platform
