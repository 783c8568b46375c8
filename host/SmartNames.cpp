#include "host/SmartNames.h"

#include <algorithm>
#include <iterator>

namespace Host
{

namespace
{

struct SmartNameRow
{
    std::uint8_t id;
    const char* name;
    const char* failure;
};

constexpr SmartNameRow rows[] = {
#define SMART_NAME(id, name, failure) {id, name, failure},
#include "host/SmartNames.inc"
#undef SMART_NAME
};

const SmartNameRow* FindRow(std::uint8_t id)
{
    const auto* row =
        std::find_if(std::begin(rows), std::end(rows),
                     [id](const SmartNameRow& candidate) { return candidate.id == id; });
    return row == std::end(rows) ? nullptr : row;
}

} // namespace

std::string SmartName(std::uint8_t id)
{
    const SmartNameRow* row = FindRow(id);
    return row == nullptr ? "" : row->name;
}

const Vocabulary::NameMap& SmartNames()
{
    static const Vocabulary::NameMap names = []
    {
        Vocabulary::NameMap map;
        for (const SmartNameRow& row : rows)
            map.emplace(row.id, row.name);
        return map;
    }();
    return names;
}

std::string SmartFailure(std::uint8_t id)
{
    const SmartNameRow* row = FindRow(id);
    return row == nullptr ? "" : row->failure;
}

} // namespace Host
