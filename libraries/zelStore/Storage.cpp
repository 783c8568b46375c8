#include "database/Storage.h"

#include "base/UntilUnload.h"
#include "database/Schema.h"
#include "libraries/zelStore/Connection.h"
#include "libraries/zelStore/Location.h"

#include <mutex>

namespace DatabaseORM
{
namespace
{

using DatabaseWrapper::Internals::Connection;

/// What all storage objects of the process have in common.
struct Common
{
    std::vector<std::shared_ptr<tableBase_t>> tables = AllTables();
    std::vector<std::shared_ptr<RaidDataModels::dbModelFieldsMapBase>> maps = AllFieldMaps();
    Connection connection{DatabaseWrapper::Internals::LocateDatabase(),
                          DatabaseWrapper::Internals::MakeDefinitions(tables)};
};

std::shared_ptr<Common> GetCommon()
{
    static std::mutex mutex;
    static Base::UntilUnload<std::weak_ptr<Common>> last;
    const std::lock_guard lock(mutex);
    std::shared_ptr<Common> common = (*last).lock();
    if (!common)
        *last = common = std::make_shared<Common>();
    return common;
}

/// A storage object, and what it must not outlive.
struct Holder
{
    std::shared_ptr<Common> common = GetCommon();
    storage_t storage{true, &common->connection, common->tables, common->maps};
};

} // namespace

std::shared_ptr<storage_t> getDatabasePointer()
{
    auto holder = std::make_shared<Holder>();
    return {holder, &holder->storage};
}

} // namespace DatabaseORM
