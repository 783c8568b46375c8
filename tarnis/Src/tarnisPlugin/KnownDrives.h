// What follows from a drive's identity alone, worked out once. Most polls bring the same identity
// again, and to make texts of it and to choose among the SMART families would take most of a poll's
// own time.
#pragma once

#include "contracts/zelPlug.h"
#include "tarnis/Src/tarnisAdapter/Adapter.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrive.h"
#include "tarnis/Src/tarnisPlugin/IdentifyPage.h"

#include <array>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace NAMESPACE_tarnis
{

using SmartPage = std::optional<PI::_IDE_SMART_DATA>;

/// The drives by disk number, each with what it said of itself last. Has no lock of its own.
class KnownDrives
{
  public:
    /// The record of a drive that gave these answers: texts, numbers, media type and readings; no
    /// id, no size, no partitions.
    /// @param adapter  the one that all drives hang on
    CAHCIPhysicalDrive RecordOf(std::uint32_t diskNumber, const IdentifyData& words,
                                const SmartPage& page, const CAHCIAdapter& adapter);

  private:
    struct KnownDrive
    {
        std::array<std::uint16_t, std::tuple_size_v<IdentifyData>> words;
        PI::CSmartValues smartValues; ///< of its model, without a reading
        CAHCIPhysicalDrive record;    ///< without a reading
    };

    const KnownDrive& DriveOf(std::uint32_t diskNumber, const IdentifyData& words,
                              const CAHCIAdapter& adapter);

    std::unordered_map<std::uint32_t, KnownDrive> m_Drives;
};

} // namespace NAMESPACE_tarnis
