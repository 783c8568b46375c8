// Which words of a model text name its vendor, and which vendor a text without one has.
#pragma once

#include <string_view>

namespace PI::Internals
{

/// Whether the word is a vendor that stands in front of models, also glued to them.
bool IsVendorWord(std::string_view word);

/// Whether the word may stand in front of a model: a vendor, or what some put between it and the
/// model ("MICRON 5300 MTFDDAK480TDS", "INNODISK CORP. - MSATA 3ME4").
bool IsLeadingWord(std::string_view word);

/// Whether the first two words of a text of more are one vendor ("InnoDisk Corp. mSATA 3SE").
bool IsVendorOfTwoWords(std::string_view text);

/// The vendor of a text that begins with no vendor, by the form of the text.
/// @return false when the text has none of the forms; else `vendor`, empty when nobody can tell
bool VendorByForm(std::string_view text, std::string_view& vendor);

} // namespace PI::Internals
