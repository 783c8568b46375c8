// What a table looks like, and the words that its definition is made of.
#pragma once

#include "database/Kinds.h"

#include <memory>
#include <string>
#include <vector>

namespace DatabaseORM
{

// Words of a table's definition.
inline constexpr const char* sqlPrimaryKey = "PRIMARY KEY";
inline constexpr const char* sqlForeignKey = "FOREIGN KEY";
inline constexpr const char* sqlUnique = "UNIQUE";
inline constexpr const char* sqlNotNull = "NOT NULL";
inline constexpr const char* sqlDefaultValue = "DEFAULTVALUE";
inline constexpr const char* sqlAutoIncrement = "AUTOINCREMENT";
inline constexpr const char* sqlOnDeleteCascade = "ON DELETE CASCADE";
inline constexpr const char* sqlOnDeleteNoAction = "ON DELETE NO ACTION";
inline constexpr const char* sqlOnDeleteRestrict = "ON DELETE RESTRICT";
inline constexpr const char* sqlOnDeleteSetDefault = "ON DELETE SET DEFAULT";
inline constexpr const char* sqlOnDeleteSetNull = "ON DELETE SET NULL";
inline constexpr const char* sqlOnUpdateCascade = "ON UPDATE CASCADE";
inline constexpr const char* sqlOnUpdateNoAction = "ON UPDATE NO ACTION";
inline constexpr const char* sqlOnUpdateRestrict = "ON UPDATE RESTRICT";
inline constexpr const char* sqlOnUpdateSetDefault = "ON UPDATE SET DEFAULT";
inline constexpr const char* sqlOnUpdateSetNull = "ON UPDATE SET NULL";

/// A column. The statements need the first two members, the rest is for who makes the table.
struct column_t
{
    RaidDataModels::KindCode kind;
    bool autoIncrement; ///< the primary key, given by the database
    std::string name;
    std::vector<std::string> constraints; ///< words from above; a word's argument follows it
    int viewPlace;                        ///< in the view for people, from 1; 0: not shown
    std::string viewLabel;
};

/// Columns of this table that name a row of another one.
struct foreignKey_t
{
    std::vector<std::string> columns;
    std::string parentTable;
    std::vector<std::string> parentColumns;
    std::vector<std::string> actions; ///< words from above
};

/// Base of all tables: they are told apart by their type.
class tableBase_t
{
  public:
    virtual ~tableBase_t() = default;

    bool hasForeignKeys = false; ///< its rows refer to others, or others may refer to them
    std::string tableName;
    std::vector<std::shared_ptr<column_t>> columns; ///< all, in table order
    std::vector<std::vector<std::string>> uniqueKeys;
    std::vector<foreignKey_t> foreignKeys;
    std::string viewName; ///< the view for people
};

/// The table of one model. Built by the owner of the database, constant afterwards.
template <class T> class table_t : public tableBase_t
{
};

} // namespace DatabaseORM
