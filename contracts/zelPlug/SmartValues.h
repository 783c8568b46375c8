#pragma once

#include "contracts/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

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

namespace Internals
{
struct SmartFamily;
class PageIndex;
} // namespace Internals

/// One attribute of a page, and what the drive's family makes of it.
struct CSmartAttribute
{
    std::uint8_t m_ID;
    std::uint8_t m_Value;
    std::uint8_t m_Worst;
    std::uint8_t m_Threshold; ///< at which the family predicts failure; 0: none is known
    std::uint64_t m_Raw;      ///< 48 bits
    std::uint32_t
        m_Margin; ///< percent of the reserve that it leaves; 0xFFFFFFFF: it is no part of it
};

/// Where the readings of a page come from.
struct CSmartExplanation
{
    std::string m_Family;                      ///< as docs/health.md lists it
    std::vector<CSmartAttribute> m_Attributes; ///< in the page's order, without unused entries

    // Ids of the attributes that decided; 0: there is no reading.
    std::uint8_t m_HoursID = 0;
    std::uint8_t m_BytesID = 0;
    std::uint8_t m_EnduranceID = 0;
    std::uint8_t m_ReserveID = 0;
};

/// Reads a SMART page by what is known of the drive's model: docs/health.md tells what for which.
/// One object serves one drive. A reading that is not trusted is none, since it could raise an
/// alarm.
class ZELPLUG_API CSmartValues
{
  public:
    /// Takes the texts as CPluginHelper::SplitSATAModelName gives them, any texts of any length.
    CSmartValues(const std::string& vendor, const std::string& product);

    /// Whether a family may fit the model's pages. The last of them fits every model.
    bool IsSupported() const;

    /// Reads any 512 bytes.
    /// @return true when the fields below were filled from the page, at least one of them with a
    ///         reading; they are untouched otherwise
    bool Evaluate(const _IDE_SMART_DATA& page);

    /// Names the attributes of the page from which Evaluate takes its readings.
    /// @return false, with the attributes alone, when no family fits the page
    bool Explain(const _IDE_SMART_DATA& page, CSmartExplanation& explanation) const;

    /// Terabytes (10^12 bytes) written that the model is rated for, 0: not known. For
    /// ComputeRemainingLifeTime alone.
    std::uint64_t m_Rating;
    std::uint64_t m_PowerOnHours;          ///< hours, 0: no reading
    std::uint64_t m_BytesWritten;          ///< bytes, 0: no reading; all bits set: more than fit
    std::uint32_t m_RemainingReserve;      ///< percent, 0 to 100; 0xFFFFFFFF: no reading
    std::uint32_t m_RatedEndurancePercent; ///< percent used up, 0 to 255; 0xFFFFFFFF: no reading

  private:
    const Internals::SmartFamily* FamilyOf(const Internals::PageIndex& page) const;

    // Marked, since a test that brings its own definitions does not use them.
    [[maybe_unused]] std::vector<const Internals::SmartFamily*> m_Families; ///< of the model
    [[maybe_unused]] std::uint64_t m_RatedCycles = 0;                       ///< of the cells
};

} // namespace PI
