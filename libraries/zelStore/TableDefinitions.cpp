#include "libraries/zelStore/TableDefinitions.h"

#include <algorithm>

namespace DatabaseWrapper::Internals
{
namespace
{

using DatabaseORM::column_t;
using DatabaseORM::foreignKey_t;
using DatabaseORM::tableBase_t;
using RaidDataModels::KindCode;

/// A list with commas; text(item) gives what stands for an item.
template <class Items, class Text> std::string Listed(const Items& items, Text text)
{
    std::string list;
    for (const auto& item : items)
        list.append(list.empty() ? "" : ", ").append(text(item));
    return list;
}

std::string InBrackets(const std::vector<std::string>& names)
{
    return "(" + Listed(names, [](const std::string& name) { return name; }) + ")";
}

const char* TypeOf(KindCode kind)
{
    switch (kind)
    {
    case KindCode::Text:
    case KindCode::List:
        return "TEXT";
    case KindCode::Int:
    case KindCode::Unsigned:
        return "INTEGER";
    case KindCode::Real:
        return "REAL";
    }
    return "";
}

std::string ColumnText(const column_t& column)
{
    std::string text = column.name + " " + TypeOf(column.kind);
    for (const std::string& word : column.constraints)
        text.append(" ").append(word == DatabaseORM::sqlDefaultValue ? "DEFAULT" : word);
    return text;
}

std::string ForeignKeyText(const foreignKey_t& key)
{
    std::string text = std::string(DatabaseORM::sqlForeignKey) + " " + InBrackets(key.columns) +
                       " REFERENCES " + key.parentTable + " " + InBrackets(key.parentColumns);
    for (const std::string& action : key.actions)
        text.append(" ").append(action);
    return text;
}

std::string TableText(const tableBase_t& table)
{
    std::string text =
        "CREATE TABLE " + table.tableName + " (" +
        Listed(table.columns, [](const auto& column) { return ColumnText(*column); });
    for (const auto& key : table.uniqueKeys)
        text.append(", ").append(DatabaseORM::sqlUnique).append(" ").append(InBrackets(key));
    for (const foreignKey_t& key : table.foreignKeys)
        text.append(", ").append(ForeignKeyText(key));
    return text + ")";
}

/// The columns for people in their order, sorted by what tells rows apart.
std::string ViewText(const tableBase_t& table)
{
    std::vector<std::shared_ptr<column_t>> shown;
    std::copy_if(table.columns.begin(), table.columns.end(), std::back_inserter(shown),
                 [](const auto& column) { return column->viewPlace != 0; });
    std::sort(shown.begin(), shown.end(),
              [](const auto& left, const auto& right)
              { return left->viewPlace < right->viewPlace; });

    std::vector<std::string> order;
    for (const auto& column : shown)
        if (!table.uniqueKeys.empty() &&
            std::count(table.uniqueKeys.front().begin(), table.uniqueKeys.front().end(),
                       column->name) != 0)
            order.push_back(column->name);

    std::string text = "CREATE VIEW " + table.viewName + " AS SELECT " +
                       Listed(shown, [](const auto& column)
                              { return column->name + " AS " + column->viewLabel; }) +
                       " FROM " + table.tableName;
    if (!order.empty())
        text.append(" ORDER BY ")
            .append(Listed(order, [](const std::string& name) { return name; }));
    return text;
}

} // namespace

std::vector<Definition> MakeDefinitions(const std::vector<std::shared_ptr<tableBase_t>>& tables)
{
    std::vector<Definition> definitions;
    for (const auto& table : tables)
    {
        definitions.push_back({true, "TABLE", table->tableName, TableText(*table)});
        // A change of a parent's row looks for its children. The column that tells most stands last
        // in a key, and here first: children are also looked for by it alone.
        for (const foreignKey_t& key : table->foreignKeys)
        {
            const std::string name = table->tableName + "_of_" + key.parentTable;
            const std::vector<std::string> columns(key.columns.rbegin(), key.columns.rend());
            definitions.push_back(
                {false, "INDEX", name,
                 "CREATE INDEX " + name + " ON " + table->tableName + " " + InBrackets(columns)});
        }
        if (!table->viewName.empty())
            definitions.push_back({false, "VIEW", table->viewName, ViewText(*table)});
    }
    return definitions;
}

} // namespace DatabaseWrapper::Internals
