#include "libraries/zelPlug/VendorWords.h"

#include "libraries/zelPlug/ModelText.h"

#include <algorithm>

namespace PI::Internals
{
namespace
{

struct ModelForm
{
    std::string_view vendor;
    std::string_view patterns;
};

#define VENDOR_WORD(word) word,
#define FILLER_WORD(word)
#define VENDOR_PAIR(words)
constexpr std::string_view vendorWords[] = {
#include "libraries/zelPlug/VendorWords.inc"
};
#undef VENDOR_PAIR
#undef FILLER_WORD
#undef VENDOR_WORD

#define VENDOR_WORD(word)
#define FILLER_WORD(word) word,
#define VENDOR_PAIR(words)
constexpr std::string_view fillerWords[] = {
#include "libraries/zelPlug/VendorWords.inc"
};
#undef VENDOR_PAIR
#undef FILLER_WORD
#undef VENDOR_WORD

#define VENDOR_WORD(word)
#define FILLER_WORD(word)
#define VENDOR_PAIR(words) words,
constexpr std::string_view vendorPairs[] = {
#include "libraries/zelPlug/VendorWords.inc"
};
#undef VENDOR_PAIR
#undef FILLER_WORD
#undef VENDOR_WORD

#define MODEL_FORM(vendor, patterns) {vendor, patterns},
constexpr ModelForm modelForms[] = {
#include "libraries/zelPlug/ModelForms.inc"
};
#undef MODEL_FORM

template <typename Rows> bool HasRowFor(const Rows& rows, std::string_view text)
{
    return std::ranges::any_of(rows,
                               [&](std::string_view pattern) { return Matches(text, pattern); });
}

} // namespace

bool IsVendorWord(std::string_view word)
{
    return HasRowFor(vendorWords, word);
}

bool IsLeadingWord(std::string_view word)
{
    return IsVendorWord(word) || HasRowFor(fillerWords, word);
}

bool IsVendorOfTwoWords(std::string_view text)
{
    return HasRowFor(vendorPairs, text);
}

bool VendorByForm(std::string_view text, std::string_view& vendor)
{
    for (const ModelForm& form : modelForms)
        if (Matches(text, form.patterns))
        {
            vendor = form.vendor;
            return true;
        }
    return false;
}

} // namespace PI::Internals
