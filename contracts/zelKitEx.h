// zelKitEx: dates, and what the operating system knows of drivers, disks and partitions. Namespace
// ZKTX.
#pragma once

#include "contracts/zelKitEx/Disks.h"
#include "contracts/zelKitEx/PartitionTable.h"
#include "contracts/zelKitEx/System.h"
#include "contracts/zelKitEx/SystemTime.h"
