// Cells of a result back to a record.
#pragma once

#include "database/FieldMap.h"
#include "database/Table.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace DatabaseORM
{

/// Set a field from a cell. "NULL" and text that is no number, or one out of range, leave an int,
/// an unsigned or a real unset; text behind a number does not count.
void ReadCell(const std::string& cell, std::int32_t& value);
void ReadCell(const std::string& cell, std::uint64_t& value);
void ReadCell(const std::string& cell, std::string& value);
void ReadCell(const std::string& cell, std::vector<std::string>& value);
void ReadCell(const std::string& cell, double& value);

/// The number at the beginning of a text as a stream reads it: 0 for no number, the limit for one
/// out of range.
std::int32_t StreamedInt(std::string_view text);
std::uint64_t StreamedUnsigned(std::string_view text);

/// A record from the cells of one row. The kinds of the columns pick the lists of the map, whose
/// entries are used up one after the other; all fields without a cell stay unset.
/// @param cells  in column order
template <class T>
T rowToModel(std::span<const std::string> cells,
             const std::vector<std::shared_ptr<column_t>>& columns,
             const RaidDataModels::dbModelFieldsMap<T>& fieldMap)
{
    T model;
    std::size_t next[5] = {};
    const auto read = [&](const auto& entries, std::size_t& cursor, const std::string& cell)
    {
        if (cursor < entries.size())
            ReadCell(cell, model.*entries[cursor++].member);
    };
    for (std::size_t i = 0; i < columns.size() && i < cells.size(); ++i)
    {
        std::size_t& cursor = next[static_cast<int>(columns[i]->kind)];
        switch (columns[i]->kind)
        {
        case RaidDataModels::KindCode::Text:
            read(fieldMap.textFields, cursor, cells[i]);
            break;
        case RaidDataModels::KindCode::List:
            read(fieldMap.listFields, cursor, cells[i]);
            break;
        case RaidDataModels::KindCode::Int:
            read(fieldMap.intFields, cursor, cells[i]);
            break;
        case RaidDataModels::KindCode::Unsigned:
            read(fieldMap.unsignedFields, cursor, cells[i]);
            break;
        case RaidDataModels::KindCode::Real:
            read(fieldMap.realFields, cursor, cells[i]);
            break;
        }
    }
    return model;
}

} // namespace DatabaseORM
