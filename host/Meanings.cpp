#include "host/Meanings.h"

#include "vocabulary/Identifiers.h"

#include <algorithm>
#include <cstdint>

namespace Host
{
namespace
{

// The type of an enumerator says which table its number belongs to.
constexpr std::string_view TableOf(PI::_ERROR_CODE)
{
    return "errors";
}
constexpr std::string_view TableOf(PI::_OPERATION_ID)
{
    return "operations";
}
constexpr std::string_view TableOf(PI::_PROPERTY_ID)
{
    return "properties";
}
constexpr std::string_view TableOf(PI::_VALUE_ID)
{
    return "values";
}
constexpr std::string_view TableOf(PI::_EVENT_ID)
{
    return "events";
}
constexpr std::string_view TableOf(PI::_OBJECT_TYPE)
{
    return "objectTypes";
}
constexpr std::string_view TableOf(PI::_UNITS)
{
    return "units";
}
constexpr std::string_view TableOf(View)
{
    return "views";
}

enum Attribute : std::uint8_t
{
};
constexpr std::string_view TableOf(Attribute)
{
    return "attributes";
}

struct Meaning
{
    std::string_view table;
    int number;
    std::string_view text;
};

using namespace PI;

constexpr Meaning meanings[] = {
#define MEANING(enumerator, text) {TableOf(enumerator), enumerator, text},
#include "host/Meanings.inc"
#undef MEANING
};

} // namespace

std::string_view MeaningOf(const NameTable& table, int number)
{
    const auto row =
        std::ranges::find_if(meanings, [&](const Meaning& meaning)
                             { return meaning.number == number && meaning.table == table.name; });
    return row == std::end(meanings) ? std::string_view() : row->text;
}

} // namespace Host
