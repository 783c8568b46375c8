#include "vocabulary/Names.h"

#include "base/UntilUnload.h"

#include <cstddef>
#include <mutex>

namespace
{

struct Row
{
    int number;
    const char* name;
};

template <std::size_t N> Vocabulary::NameMap MapOf(const Row (&rows)[N])
{
    Vocabulary::NameMap map;
    for (const Row& row : rows)
        map.emplace_hint(map.end(), row.number, row.name); // keeps the first row of a number
    return map;
}

#define VOCABULARY_ROW(number, name) {number, #name},
#define VOCABULARY_REPEAT(number, name) {number, #name},
#define VOCABULARY_PARAMETER(number, name) {number, #name},

Vocabulary::NameMap& Values()
{
    static Base::UntilUnload<Vocabulary::NameMap> values(MapOf({
#include "vocabulary/rows/values.inc"
    }));
    return *values;
}
std::mutex valuesLock; // of whoever asks for a name: a new number is entered

} // namespace

// Each map is made when it is first asked for, where a lack of memory can be reported.
namespace Vocabulary
{

const NameMap& errorNames()
{
    static Base::UntilUnload<NameMap> names(MapOf({
#include "vocabulary/rows/errors.inc"
    }));
    return *names;
}
const NameMap& operationNames()
{
    static Base::UntilUnload<NameMap> names(MapOf({
#include "vocabulary/rows/operations.inc"
    }));
    return *names;
}
const NameMap& propertyNames()
{
    static Base::UntilUnload<NameMap> names(MapOf({
#include "vocabulary/rows/properties.inc"
    }));
    return *names;
}
const NameMap& valueNames()
{
    return Values();
}
const NameMap& eventNames()
{
    static Base::UntilUnload<NameMap> names(MapOf({
#include "vocabulary/rows/events.inc"
    }));
    return *names;
}
const NameMap& objectTypeNames()
{
    static Base::UntilUnload<NameMap> names(MapOf({
#include "vocabulary/rows/object-types.inc"
    }));
    return *names;
}
const NameMap& unitNames()
{
    static Base::UntilUnload<NameMap> names(MapOf({
#include "vocabulary/rows/units.inc"
    }));
    return *names;
}

} // namespace Vocabulary

const std::string& valueName(int number)
{
    const std::lock_guard guard(valuesLock);
    return Values()[number];
}
