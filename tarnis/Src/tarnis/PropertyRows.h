// Walks the constant rows of an object kind and makes its properties.
#pragma once

#include "contracts/zelPlug.h"

#include <cstdint>
#include <span>
#include <vector>

namespace NAMESPACE_tarnis
{

/// View mask of a property that every view shows, and of one that has nothing to show.
inline constexpr std::uint32_t ViewAll = 0xFFFFFFFF;
inline constexpr std::uint32_t ViewNone = 0;

/// Format of a real number that is shown as one.
inline constexpr std::uint32_t RealFormat = 8;

/// Appends a property for each row that the filter asks for. UNDEFINED asks for all.
/// @param setValue  called with the property made from the row; false leaves the row out
template <class SetValue>
void AppendProperties(std::span<const PI::_PROPERTY_DESCRIPTION> rows, PI::_PROPERTY_ID filter,
                      std::vector<PI::CProperty>& properties, SetValue setValue)
{
    if (filter == PI::PROP_UNDEFINED)
        properties.reserve(rows.size());
    for (const PI::_PROPERTY_DESCRIPTION& row : rows)
    {
        if (filter != PI::PROP_UNDEFINED && filter != row.m_ID)
            continue;
        PI::CProperty property;
        PI::CPluginHelper::GenerateCProperty(row, property);
        if (setValue(property))
            properties.push_back(std::move(property));
    }
}

} // namespace NAMESPACE_tarnis
