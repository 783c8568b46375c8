// Which attributes of a SMART page mean what, by drive family.
#pragma once

#include "libraries/zelPlug/ModelText.h"
#include "libraries/zelPlug/SmartReading.h"

#include <span>
#include <string_view>

namespace PI::Internals
{

/// A row of SmartFamilies.inc, which explains its notation.
struct SmartFamily
{
    std::string_view name;
    std::string_view vendors; ///< patterns, see ModelText.h
    std::string_view models;  ///< patterns for the product
    ShortList<PageTest, 8> page;
    HoursReading hours;
    ShortList<WritesReading, 3> writes;
    ShortList<UsedReading, 2> used;
    ShortList<ReserveReading, 8> reserve;
    std::string_view source;
};

/// The rows, in the order in which they are tried. They live as long as the library.
std::span<const SmartFamily> SmartFamilies();

/// Whether the row's patterns fit a model; its page tests are another matter.
bool FitsModel(const SmartFamily& family, const ModelText& vendor, const ModelText& product);

bool FitsPage(const SmartFamily& family, const PageIndex& page);

} // namespace PI::Internals
