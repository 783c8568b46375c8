#include "host/Meanings.h"

#include <algorithm>

namespace Host
{
namespace
{

struct Meaning
{
    int number;
    std::string_view text;
};

constexpr Meaning meanings[] = {
#define MEANING(number, text) {number, text},
#include "host/Meanings.inc"
#undef MEANING
};

} // namespace

std::string_view MeaningOf(int number)
{
    const auto row = std::ranges::find(meanings, number, &Meaning::number);
    return row == std::end(meanings) ? std::string_view() : row->text;
}

} // namespace Host
