// Words of this program's own that no table of the vocabulary has, and what they mean.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Host
{

struct Word
{
    enum class Kind
    {
        State,  ///< of a drive
        Change, ///< as watch tells them to programs
        Label,  ///< of show, where the plug-in has no such property
    };
    Kind kind;
    std::string_view text;
    std::string_view meaning;
};

std::span<const Word> Words();

/// Whether show has a value under this label that is no property.
/// @param normal  the label in its normal form
bool IsLabel(const std::string& normal);

} // namespace Host
