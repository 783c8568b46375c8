// The shared database, all of it.
#pragma once

#include "contracts/zelStore/DatabaseDAO.h"
#include "contracts/zelStore/Exception.h"
#include "contracts/zelStore/RowState.h"
#include "contracts/zelStore/Storage.h"
