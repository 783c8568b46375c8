#pragma once

#include "contracts/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace PI
{

/// One entry of the attribute table of SMART READ DATA.
#pragma pack(push, 1)
struct _IDE_SMART_ATTRIBUTE
{
    std::uint8_t m_ID; ///< 0: unused entry
    std::uint16_t m_Flags;
    std::uint8_t m_Value;
    std::uint8_t m_Worst;
    std::uint8_t m_Raw[6]; ///< little-endian
    std::uint8_t m_Reserved;
};

/// The 512 bytes that a drive answers to SMART READ DATA.
struct _IDE_SMART_DATA
{
    std::uint16_t m_Revision;
    _IDE_SMART_ATTRIBUTE m_Attributes[30];
    std::uint8_t m_Rest[149];
    std::uint8_t m_Checksum; ///< makes the sum of all bytes 0; not checked
};
#pragma pack(pop)
static_assert(sizeof(_IDE_SMART_ATTRIBUTE) == 12);
static_assert(offsetof(_IDE_SMART_DATA, m_Attributes) == 2);
static_assert(sizeof(_IDE_SMART_DATA) == 512);

/// Reads a SMART page by what is known of the drive's model. One object serves one drive.
class ZELPLUG_API CSmartValues
{
  public:
    CSmartValues(const std::string& vendor, const std::string& product);

    /// Whether the meaning of the attributes is known for this model. No model is known yet.
    bool IsSupported() const;

    /// @return true when the fields below were filled from the page; they are untouched otherwise
    bool Evaluate(const _IDE_SMART_DATA& page);

    std::uint64_t m_Rating;                ///< rated endurance, for ComputeRemainingLifeTime alone
    std::uint64_t m_PowerOnHours;          ///< hours, 0: no reading
    std::uint64_t m_BytesWritten;          ///< bytes, 0: no reading
    std::uint32_t m_RemainingReserve;      ///< percent, 0xFFFFFFFF: no reading
    std::uint32_t m_RatedEndurancePercent; ///< percent used up, 0xFFFFFFFF: no reading
};

} // namespace PI
