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

const Vocabulary::NameMap errors = MapOf({
#include "vocabulary/rows/errors.inc"
});
const Vocabulary::NameMap operations = MapOf({
#include "vocabulary/rows/operations.inc"
});
const Vocabulary::NameMap properties = MapOf({
#include "vocabulary/rows/properties.inc"
});
std::mutex valuesLock; // of whoever asks for a name: a new number is entered
Vocabulary::NameMap& Values()
{
    static Base::UntilUnload<Vocabulary::NameMap> values(MapOf({
#include "vocabulary/rows/values.inc"
    }));
    return *values;
}
const Vocabulary::NameMap events = MapOf({
#include "vocabulary/rows/events.inc"
});
const Vocabulary::NameMap objectTypes = MapOf({
#include "vocabulary/rows/object-types.inc"
});
const Vocabulary::NameMap units = MapOf({
#include "vocabulary/rows/units.inc"
});

} // namespace

namespace Vocabulary
{

const NameMap& errorNames()
{
    return errors;
}
const NameMap& operationNames()
{
    return operations;
}
const NameMap& propertyNames()
{
    return properties;
}
const NameMap& valueNames()
{
    return Values();
}
const NameMap& eventNames()
{
    return events;
}
const NameMap& objectTypeNames()
{
    return objectTypes;
}
const NameMap& unitNames()
{
    return units;
}

} // namespace Vocabulary

const std::string& valueName(int number)
{
    const std::lock_guard guard(valuesLock);
    return Values()[number];
}
