// zelStore: the database that host and plug-ins share. Namespace DatabaseORM.
#pragma once

#include "contracts/zelStore/Storage.h"
