#include "libraries/zelPlug/SmartFamily.h"

#include "libraries/zelPlug/FamilyTable.h"

#include <algorithm>

namespace PI::Internals
{
namespace
{

constexpr std::string_view text =
#include "libraries/zelPlug/SmartFamilies.inc"
    ;

// A row that cannot be read stops the build here, and the message shows its line.
static_assert(FirstWrongLine(text) == 0,
              "SmartFamilies.inc: this line does not follow the notation");

constexpr auto families = ParseFamilies<CountFamilies(text)>(text);

} // namespace

std::span<const SmartFamily> SmartFamilies()
{
    return families;
}

bool FitsModel(const SmartFamily& family, const ModelText& vendor, const ModelText& product)
{
    return Matches(vendor.View(), family.vendors) && Matches(product.View(), family.models);
}

bool FitsPage(const SmartFamily& family, const PageIndex& page)
{
    return std::ranges::all_of(family.page,
                               [&](const PageTest& test) { return Holds(test, page); });
}

} // namespace PI::Internals
