#include "database/Schema.h"

#include <string_view>

namespace DatabaseORM
{
namespace
{

using RaidDataModels::FieldRole;
using RaidDataModels::FieldRow;
using RaidDataModels::KindCode;

struct TableNames
{
    const char* table;
    const char* alias;
    const char* view;
};

template <class T> constexpr TableNames Names{};
template <> constexpr TableNames Names<RaidDataModels::Plugin>{"raid_plugin", "plg", "plugins"};
template <> constexpr TableNames Names<RaidDataModels::Adapter>{"raid_adapter", "adp", "adapters"};
template <> constexpr TableNames Names<RaidDataModels::PD>{"raid_pd", "pd", "drives"};
template <>
constexpr TableNames Names<RaidDataModels::Partition>{"raid_partition", "prt", "partitions"};

template <class T> std::string ColumnName(std::string_view member)
{
    if (member == "id")
        return "ID";
    return std::string(Names<T>.alias).append("_").append(member);
}

template <class T, class... Members> std::vector<std::string> ColumnNames(Members... members)
{
    return {ColumnName<T>(members)...};
}

template <class T> std::shared_ptr<RaidDataModels::dbModelFieldsMapBase> MakeFieldMap()
{
    auto map = std::make_shared<RaidDataModels::dbModelFieldsMap<T>>();
    map->aliasName = Names<T>.alias;
    map->fieldCount = 1; // the primary key goes to the front
    RaidDataModels::ModelFields<T>::Walk(
        [&map](auto, auto member, const FieldRow& row)
        {
            auto& entries = map->Entries(member);
            if (row.role == FieldRole::Id)
                entries.insert(entries.begin(), {member, ColumnName<T>(row.name), 0});
            else
                entries.push_back({member, ColumnName<T>(row.name), map->fieldCount++});
        });
    return map;
}

/// A key is never NULL: what is unset is kept as the value that reads as unset, so that the key
/// stays unique and can be found.
std::vector<std::string> ConstraintsOf(KindCode kind, FieldRole role)
{
    switch (role)
    {
    case FieldRole::Id:
        return {sqlPrimaryKey, sqlAutoIncrement};
    case FieldRole::Key:
        return {sqlNotNull, "ON CONFLICT REPLACE", sqlDefaultValue,
                kind == KindCode::Text ? "'NULL'"
                                       : std::to_string(RaidDataModels::Kinds::Int::Unset())};
    case FieldRole::Plain:
        break;
    }
    return {};
}

template <class T> std::shared_ptr<table_t<T>> MakeTable(bool hasForeignKeys)
{
    auto table = std::make_shared<table_t<T>>();
    table->hasForeignKeys = hasForeignKeys;
    table->tableName = Names<T>.table;
    table->viewName = Names<T>.view;
    table->uniqueKeys.emplace_back();
    RaidDataModels::ModelFields<T>::Walk(
        [&table](auto kind, auto, const FieldRow& row)
        {
            const bool isId = row.role == FieldRole::Id;
            auto column = std::make_shared<column_t>(
                column_t{kind.code, isId, ColumnName<T>(row.name),
                         ConstraintsOf(kind.code, row.role), row.place, row.label});
            if (row.role == FieldRole::Key)
                table->uniqueKeys.front().push_back(column->name);
            table->columns.insert(isId ? table->columns.begin() : table->columns.end(), column);
        });
    return table;
}

} // namespace

std::vector<std::shared_ptr<RaidDataModels::dbModelFieldsMapBase>> AllFieldMaps()
{
    return {MakeFieldMap<RaidDataModels::Plugin>(), MakeFieldMap<RaidDataModels::Adapter>(),
            MakeFieldMap<RaidDataModels::PD>(), MakeFieldMap<RaidDataModels::Partition>()};
}

std::vector<std::shared_ptr<tableBase_t>> AllTables()
{
    using RaidDataModels::Partition;
    using RaidDataModels::PD;

    // Other plug-ins' tables may refer to adapters too, so its changes heed foreign keys as well.
    const auto adapters = MakeTable<RaidDataModels::Adapter>(true);
    const auto drives = MakeTable<PD>(true);
    const auto partitions = MakeTable<Partition>(true);
    drives->uniqueKeys.push_back(ColumnNames<PD>("hostName", "globalAdapterNumber", "uniqueId"));
    partitions->foreignKeys.push_back(
        {ColumnNames<Partition>("hostName", "globalAdapterNumber", "driveUniqueId"),
         drives->tableName,
         drives->uniqueKeys.back(),
         {sqlOnDeleteCascade, sqlOnUpdateCascade}});
    return {MakeTable<RaidDataModels::Plugin>(false), adapters, drives, partitions};
}

} // namespace DatabaseORM
