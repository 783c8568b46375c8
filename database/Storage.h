// The storage object: records in, statements out, rows back.
//
// Each operation builds one text, hands it to the connection, and makes records of the cells that
// come back. Every failure is a DBEXCEPTION::DatabaseException. There is no transaction: each
// statement stands alone. One object is used by one thread at a time.
#pragma once

#include "contracts/zelStore.h"
#include "database/Conditions.h"
#include "database/FieldMap.h"
#include "database/Models.h"
#include "database/RowConversion.h"
#include "database/StatementText.h"
#include "database/Table.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

namespace DatabaseORM
{

class storage_t
{
  public:
    bool qualifyColumns = true;                       ///< conditions name columns with the alias
    DatabaseWrapper::DatabaseDAO* dao = nullptr;      ///< lives as long as this object
    std::vector<std::shared_ptr<tableBase_t>> tables; ///< one a model
    std::vector<std::shared_ptr<RaidDataModels::dbModelFieldsMapBase>> modelMaps; ///< one a model

    /// The rows that a condition holds for.
    template <class T, class Condition> std::vector<T> select(const Condition& condition)
    {
        const auto map = MapOf<T>(noModel);
        const auto table = TableOf<T>();
        std::vector<T> models;
        if (!table)
            return models;
        const std::vector<std::string> cells = Select<T>("*", *table, condition);
        const std::size_t width = table->columns.size();
        const std::size_t rows = width == 0 ? 0 : cells.size() / width;
        models.reserve(rows);
        for (std::size_t row = 0; row < rows; ++row)
            models.push_back(
                rowToModel<T>(std::span(cells).subspan(row * width, width), table->columns, *map));
        return models;
    }

    /// One column of the rows that a condition holds for.
    template <class T, class Condition>
    std::vector<int> selectColumn(std::int32_t T::*member, const Condition& condition)
    {
        MapOf<T>(noModel);
        const auto table = TableOf<T>();
        std::vector<int> values;
        if (!table)
            return values;
        for (const std::string& cell : Select<T>(columnNameOf<T>(member), *table, condition))
            values.push_back(StreamedInt(cell));
        return values;
    }

    /// A new row. The database gives its primary key where the table says so.
    /// @return the new row's id as it was foreseen; 0 when the table gives none
    template <class T> std::uint32_t insert(const T& model)
    {
        const auto map = MapOf<T>("Storage query exception thrown! No such model in map exist!");
        const Target target = TargetOf<T>();
        ColumnTexts columns(map->fieldCount);
        std::uint32_t newId = 0;
        map->Walk(
            [&](const auto& entry)
            {
                if (target.autoId && IsGeneratedKey(*map, entry))
                    newId = NextId<T>(entry.member);
                else
                    columns.Put(entry.columnIndex, entry.columnName, model.*entry.member);
            });

        std::string statement = Begin(target, "INSERT INTO ", 2 * columns.Size());
        statement += ' ';
        if (target.autoId)
        {
            statement += '(';
            columns.AppendNames(statement);
            statement += ") ";
        }
        statement += "VALUES(";
        columns.AppendValues(statement);
        statement += ");";
        Query(std::move(statement));
        return newId;
    }

    /// Writes the whole row whose ID is the record's. An unset id changes no row.
    template <class T> void update(const T& model)
    {
        const auto map = MapOf<T>(noModel);
        const Target target = TargetOf<T>();
        ColumnTexts columns(map->fieldCount);
        std::string rowId = "-1";
        map->Walk(
            [&](const auto& entry)
            {
                const std::string_view value =
                    columns.Put(entry.columnIndex, entry.columnName, model.*entry.member);
                if (entry.columnIndex == 0 && IsNumber(entry.member) && !value.empty())
                    rowId = value;
            });

        std::string statement = Begin(target, "UPDATE ", columns.Size());
        statement += " SET ";
        columns.AppendAssignments(statement);
        statement.append(" WHERE ID = ").append(rowId).append(";");
        // What the connection says is passed on as it is.
        dao->query(std::move(statement));
    }

    /// Removes the rows that a condition holds for.
    template <class T, class Condition> void remove(const Condition& condition)
    {
        MapOf<T>(noModel);
        const Target target = TargetOf<T>();
        if (target.tableName.empty())
            return;
        const Unqualified unqualified(*this);
        std::string statement = Begin(target, "DELETE FROM ", shortStatement);
        AppendWhere(condition, statement);
        Query(std::move(statement));
    }

    /// The largest value of a column; 0 for none.
    template <class T, class Value> std::uint32_t maxId(Value T::*member)
    {
        const auto table = TableOf<T>();
        if (!table)
            return 0;
        std::string statement = "SELECT MAX(";
        statement.append(columnNameOf<T>(member)).append(") FROM ").append(table->tableName);
        const std::vector<std::string> cells = Query(std::move(statement));
        if (cells.empty())
            return 0;
        if constexpr (std::is_signed_v<Value>)
            return static_cast<std::uint32_t>(StreamedInt(cells.front()));
        else
            return static_cast<std::uint32_t>(StreamedUnsigned(cells.front()));
    }

    /// Both references are good as long as the map.
    template <class T, class Value> const std::string& columnNameOf(Value T::*member) const
    {
        const auto map = MapOf<T>(noModel);
        for (const auto& entry : map->Entries(member))
            if (entry.member == member && !entry.columnName.empty())
                return entry.columnName;
        throw DBEXCEPTION::DatabaseException("Empty colName exception!");
    }
    template <class T> const std::string& aliasOf() const
    {
        return MapOf<T>("Storage query exception thrown! No such model map exist.")->aliasName;
    }

  private:
    static constexpr const char* noModel =
        "Storage query exception thrown! No such model in map exist.";
    static constexpr const char* refused = "Storage query exception thrown! (";
    static constexpr const char* noId =
        "Storage query exception thrown! Cannot read ID from database! (";
    static constexpr std::size_t shortStatement = 128; ///< bytes, about

    /// What a change is directed at. Without a table the name is empty, and the database refuses.
    struct Target
    {
        std::string tableName;
        bool hasForeignKeys = false;
        bool autoId = false;
    };

    /// Conditions of a DELETE name their columns alone: there is no alias in it.
    class Unqualified
    {
      public:
        explicit Unqualified(storage_t& storage) : m_Storage(storage)
        {
            m_Storage.qualifyColumns = false;
        }
        ~Unqualified() { m_Storage.qualifyColumns = true; }
        Unqualified(const Unqualified&) = delete;
        Unqualified& operator=(const Unqualified&) = delete;

      private:
        storage_t& m_Storage;
    };

    template <class Wanted, class Entries>
    static std::shared_ptr<const Wanted> FindType(const Entries& entries)
    {
        for (const auto& entry : entries)
            if (entry && typeid(*entry) == typeid(Wanted))
                return std::static_pointer_cast<const Wanted>(entry);
        return nullptr;
    }

    template <class T>
    std::shared_ptr<const RaidDataModels::dbModelFieldsMap<T>> MapOf(const char* otherwise) const
    {
        auto map = FindType<RaidDataModels::dbModelFieldsMap<T>>(modelMaps);
        if (!map)
            throw DBEXCEPTION::DatabaseException(otherwise);
        return map;
    }

    template <class T> std::shared_ptr<const table_t<T>> TableOf() const
    {
        return FindType<table_t<T>>(tables);
    }

    template <class T> Target TargetOf() const
    {
        Target target;
        if (const auto table = TableOf<T>())
        {
            target.tableName = table->tableName;
            target.hasForeignKeys = table->hasForeignKeys;
            for (const auto& column : table->columns)
                target.autoId = target.autoId || column->autoIncrement;
        }
        return target;
    }

    static std::string Begin(const Target& target, const char* verb, std::size_t size)
    {
        std::string statement;
        statement.reserve(size + shortStatement);
        if (target.hasForeignKeys)
            statement += "PRAGMA foreign_keys = ON; ";
        return statement.append(verb).append(target.tableName);
    }

    template <class T> static constexpr bool IsNumber(std::int32_t T::*) { return true; }
    template <class T> static constexpr bool IsNumber(std::uint64_t T::*) { return true; }
    template <class T, class Value> static constexpr bool IsNumber(Value T::*) { return false; }

    /// The database gives an int key in the first column, or an unsigned one in the last.
    template <class T, class Value>
    static bool IsGeneratedKey(const RaidDataModels::dbModelFieldsMap<T>& map,
                               const RaidDataModels::FieldEntry<T, Value>& entry)
    {
        if constexpr (std::is_same_v<Value, std::int32_t>)
            return entry.columnIndex == 0;
        else if constexpr (std::is_same_v<Value, std::uint64_t>)
            return entry.columnIndex != 0 && entry.columnIndex + 1 == map.fieldCount;
        else
            return false;
    }

    template <class T, class Value> std::uint32_t NextId(Value T::*member)
    {
        if constexpr (std::is_integral_v<Value>)
            try
            {
                const std::uint32_t last = maxId<T>(member);
                return last == std::numeric_limits<std::uint32_t>::max() ? 1 : last + 1;
            }
            catch (const DBEXCEPTION::DatabaseException& failure)
            {
                throw DBEXCEPTION::DatabaseException(noId + std::string(failure.what()) + ")");
            }
        else
            return 0;
    }

    template <class Condition>
    void AppendWhere(const Condition& condition, std::string& statement) const
    {
        statement += "  WHERE";
        Serialize(*this, condition, statement);
    }

    template <class T, class Condition>
    std::vector<std::string> Select(std::string_view columns, const table_t<T>& table,
                                    const Condition& condition)
    {
        std::string statement = "SELECT ";
        statement.append(columns).append(" FROM ").append(table.tableName).append(" ");
        statement += aliasOf<T>();
        AppendWhere(condition, statement);
        return Query(std::move(statement));
    }

    std::vector<std::string> Query(std::string statement)
    {
        try
        {
            return dao->query(std::move(statement));
        }
        catch (const DBEXCEPTION::DatabaseException& failure)
        {
            throw DBEXCEPTION::DatabaseException(refused + std::string(failure.what()) + ")");
        }
    }
};

} // namespace DatabaseORM
