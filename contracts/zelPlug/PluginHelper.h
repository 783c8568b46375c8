#pragma once

#include "contracts/Export.h"
#include "contracts/zelPlug/Property.h"
#include "vocabulary/Identifiers.h"

#include <cstdint>
#include <string>

namespace PI
{

/// What is known of an SSD model's life.
struct CSATALifeTimeData
{
    std::string m_Vendor;           ///< in capitals, as the system shows it
    std::string m_Model;            ///< without a vendor word
    std::uint32_t m_CompareLength;  ///< leading characters that stand for the model, 0: all
    std::uint64_t m_RatedEndurance; ///< terabytes written
    std::uint32_t m_LifeTimeFlag;
};

/// Helpers that every storage plug-in needs. All are static and safe from any thread.
class ZELPLUG_API CPluginHelper
{
  public:
    /// Fills identifier, label, view mask and unit from the row and leaves the value empty.
    static void GenerateCProperty(const _PROPERTY_DESCRIPTION& row, CProperty& property);

    /// The largest unit, from kilobytes to terabytes, in which the value is at least 1; kilobytes
    /// for less. Units step by 1024. The value is rounded to two decimal places.
    /// @return false for 0 bytes, with `value` and `unit` untouched
    static bool ConvertBytesToOtherUnit(std::uint64_t bytes, float& value, _UNITS& unit);

    /// Splits an IDENTIFY model text at its first run of blanks: the first word is the vendor, the
    /// rest the product. A single word is a product without a vendor.
    /// @return 0; 20006 (INVALID_PARAMETER) for a blank text, with both results empty
    static _ERROR_CODE SplitSATAModelName(const std::string& model, std::string& vendor,
                                          std::string& product);

    /// @return the model's row, which lives as long as the library, or null for an unknown model.
    ///         The table of models is not filled yet, so that every model is unknown.
    static const CSATALifeTimeData* findLifeTimeProp(const std::string& product);

    /// Estimates the hours that a drive has left. Without a table of models there is nothing to
    /// estimate from yet: gives false and leaves `remainingHours` as it is.
    /// @param hours     power-on hours, at least 1
    /// @param percent   rated endurance used up, 0xFFFFFFFF: not known
    static bool ComputeRemainingLifeTime(std::uint64_t hours, std::uint64_t bytesWritten,
                                         std::uint32_t percent, std::uint64_t rating,
                                         std::uint64_t& remainingHours);
};

} // namespace PI
