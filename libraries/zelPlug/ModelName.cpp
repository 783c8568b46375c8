#include "contracts/zelPlug/PluginHelper.h"
#include "libraries/zelPlug/ModelText.h"
#include "libraries/zelPlug/VendorWords.h"

#include <string_view>

namespace PI
{
namespace
{

constexpr const char* blanks = " \t\n\v\f\r";
constexpr const char* gaps = " \t\n\v\f\r_";

struct Parts
{
    std::string_view vendor;
    std::string_view product;
};

std::string_view Trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

/// Splits before the gap at `end`. A dash between vendor and product belongs to neither.
Parts SplitAt(std::string_view text, std::size_t end)
{
    std::string_view product = text.substr(text.find_first_not_of(gaps, end));
    if (product.size() > 2 && product[0] == '-' && product[1] == ' ')
        product = Trimmed(product.substr(1));
    return {text.substr(0, end), product};
}

/// Where a vendor that is glued to the model with an underscore ends, or npos.
std::size_t EndOfGluedVendor(std::string_view text)
{
    const std::size_t end = text.find_first_of(gaps);
    if (end == std::string_view::npos || text[end] != '_' ||
        text.find_first_not_of(gaps, end) == std::string_view::npos ||
        !Internals::IsVendorWord(Internals::ModelText(text.substr(0, end)).View()))
        return std::string_view::npos;
    return end;
}

std::size_t EndOfSecondWord(std::string_view text)
{
    const std::size_t second = text.find_first_not_of(gaps, text.find_first_of(gaps));
    return text.find_first_of(gaps, second);
}

Parts SplitTrimmed(std::string_view text)
{
    const Internals::ModelText normal(text);
    std::string_view vendor;
    if (Internals::VendorByForm(normal.View(), vendor))
        return {vendor, text};
    if (const std::size_t end = EndOfGluedVendor(text); end != std::string_view::npos)
        return SplitAt(text, end);
    if (Internals::IsVendorOfTwoWords(normal.View()))
        return SplitAt(text, EndOfSecondWord(text));
    const std::size_t end = text.find_first_of(blanks);
    if (text.find_first_not_of(gaps, end) != std::string_view::npos) // "X _" is one word
        return SplitAt(text, end);
    return {{}, text};
}

} // namespace

_ERROR_CODE CPluginHelper::SplitSATAModelName(const std::string& model, std::string& vendor,
                                              std::string& product)
{
    const std::string text(Trimmed(model)); // a copy: a result may be the model's own string
    const Parts parts = SplitTrimmed(text);
    vendor = parts.vendor;
    product = parts.product;
    return text.empty() ? ERR_INVALID_PARAMETER : ERR_SUCCESS;
}

} // namespace PI
