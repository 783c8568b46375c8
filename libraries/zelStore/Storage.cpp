#include "contracts/zelStore/Storage.h"

namespace DatabaseORM
{

std::shared_ptr<storage_t> getDatabasePointer()
{
    return nullptr;
}

} // namespace DatabaseORM
