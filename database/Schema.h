// Field maps and tables, made from the lists of fields: what the owner of the database hands out
// and creates its tables from.
//
// The primary key ID is the first column, the other fields follow in the order of the members.
// Every other column name begins with the table's alias, so that no text can be taken for one.
#pragma once

#include "database/FieldMap.h"
#include "database/Models.h"
#include "database/Table.h"

#include <memory>
#include <vector>

namespace DatabaseORM
{

/// The maps of all models, in the order of AllTables.
std::vector<std::shared_ptr<RaidDataModels::dbModelFieldsMapBase>> AllFieldMaps();

/// The tables of all models; a table stands behind those that its foreign keys name.
std::vector<std::shared_ptr<tableBase_t>> AllTables();

} // namespace DatabaseORM
