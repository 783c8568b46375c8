// Texts of drive models as the tables of models compare them.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace PI::Internals
{

/// A text in capitals, each run of blanks and underscores one blank, none at the ends. Lies in
/// itself, since it is made for every drive at every poll; holds the first 95 characters, twice
/// what a drive can tell.
class ModelText
{
  public:
    explicit ModelText(std::string_view text);

    std::string_view View() const { return {m_Text.data(), m_Length}; }

  private:
    std::array<char, 96> m_Text;
    std::size_t m_Length = 0;
};

/// Takes the first word off a normalised text.
/// @return the word; `text` is the rest then, empty when there was no other word
std::string_view TakeWord(std::string_view& text);

/// Whether the whole text has the form of one of the patterns, with a blank between two of them.
/// '*' stands for any characters, '?' for one, '#' for a digit, '_' for a blank, "[abc]" for one of
/// those named. Takes at most the product of both lengths in steps, and no stack.
bool Matches(std::string_view text, std::string_view patterns);

} // namespace PI::Internals
