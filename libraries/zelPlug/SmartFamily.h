// Which attributes of a SMART page tell what, by drive family.
#pragma once

#include "libraries/zelPlug/SmartReading.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace PI::Internals
{

/// A row of SmartFamilies.inc. A reading without an attribute is none.
struct SmartFamily
{
    std::string_view vendors;  ///< patterns as told in ModelText.h
    std::string_view products; ///< the same
    std::uint64_t ratedCycles; ///< program/erase cycles of the cells, 0: not known
    Reading hours;
    Reading writes;
    Readings used;
    Readings reserve;
};

/// @return the family, which lives as long as the library, or null for a drive that nobody knows.
///         A vendor that does not fit is looked for in the text of both, as
///         CPluginHelper::SplitSATAModelName does.
const SmartFamily* FindSmartFamily(const std::string& vendor, const std::string& product);

} // namespace PI::Internals
