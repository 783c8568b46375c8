#include "host/Words.h"

#include "host/Names.h"

#include <algorithm>

namespace Host
{

namespace
{

constexpr Word words[] = {
#define WORD(kind, text, meaning) {Word::Kind::kind, text, meaning},
#include "host/Words.inc"
#undef WORD
};

} // namespace

std::span<const Word> Words()
{
    return words;
}

bool IsLabel(const std::string& normal)
{
    return std::ranges::any_of(
        words, [&](const Word& word)
        { return word.kind == Word::Kind::Label && NormalName(word.text) == normal; });
}

} // namespace Host
