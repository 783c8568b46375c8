#pragma once

#include "contracts/Export.h"
#include "contracts/zelPlug/LifeTimeTable.h"
#include "contracts/zelPlug/Property.h"
#include "vocabulary/Identifiers.h"

#include <cstdint>
#include <string>

namespace PI
{

/// Helpers that every storage plug-in needs. All are static and safe from any thread.
class ZELPLUG_API CPluginHelper
{
  public:
    /// Fills identifier, label, view mask and unit from the row and leaves the value empty.
    static void GenerateCProperty(const _PROPERTY_DESCRIPTION& row, CProperty& property);

    /// The largest unit, from kilobytes to terabytes, in which the value, rounded to two decimal
    /// places, is at least 1; kilobytes for less. Units step by 1024, and so does the rounded
    /// value: what would read 1024.00 of a unit is 1.00 of the next.
    /// @return false for 0 bytes, with `value` and `unit` untouched
    static bool ConvertBytesToOtherUnit(std::uint64_t bytes, float& value, _UNITS& unit);

    /// Splits an IDENTIFY model text as a person would. In this order:
    ///   - a text whose form only one vendor uses ("ST1000DM003", "SATADOM-SH 3ME3") is the
    ///     product, as it stands, of that vendor, whose name comes in capitals. Some forms have no
    ///     vendor ("SATA SSD", "1TB SATA SSD");
    ///   - a known vendor that an underscore glues to the product ends there
    ///     ("Micron_5300_MTFDDAK480TDS": "Micron", "5300_MTFDDAK480TDS");
    ///   - a few vendors have two words ("InnoDisk Corp.");
    ///   - otherwise the first word is the vendor, known or not, and the rest the product;
    ///   - any other single word is a product without a vendor.
    /// Vendor and product together hold every word of the model, but for a dash between them.
    /// @return 0; 20006 (INVALID_PARAMETER) for a blank text, with both results empty
    static _ERROR_CODE SplitSATAModelName(const std::string& model, std::string& vendor,
                                          std::string& product);

    /// Looks a product up in the SATA table, whatever its letter case, with underscores as blanks,
    /// with or without vendor words in front ("Micron_5300_MTFDDAK480TDS"). The whole text comes
    /// first; then the rows whose m_CompareLength leading characters it has, of these the one with
    /// which it goes along furthest, of equal ones the first.
    /// @return the model's row, which lives as long as the library, or null for an unknown model
    static const CSATALifeTimeData* findLifeTimeProp(const std::string& product);

    /// Estimates the hours that a drive has left when life goes on as it did so far: by its wear,
    /// and by its writes only when the wear is not known.
    /// @param hours         power-on hours; callers pass 1 for a drive that does not count them
    /// @param bytesWritten  0: not known
    /// @param percent       rated endurance used up, 0xFFFFFFFF: not known
    /// @param rating        terabytes (10^12 bytes) written that the model is rated for, 0: not
    ///                      known
    /// @return true with the hours, rounded down, all bits set for more than fit: 0 from a whole
    ///         share on; else hours * (1 - share) / share.
    ///         false, with `remainingHours` untouched, when nothing can be estimated: hours 0; no
    ///         share, or one of 0; below the whole share also when no hours are known (1), and
    ///         below 168 hours with less than a tenth used: how a new drive is filled is not its
    ///         pace.
    static bool ComputeRemainingLifeTime(std::uint64_t hours, std::uint64_t bytesWritten,
                                         std::uint32_t percent, std::uint64_t rating,
                                         std::uint64_t& remainingHours);
};

} // namespace PI
