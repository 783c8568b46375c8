// zelKit: threads, locks, waits, trace and time. Namespace ZKT.
#pragma once

#include "contracts/zelKit/Delegate.h"
#include "contracts/zelKit/Event.h"
#include "contracts/zelKit/Language.h"
#include "contracts/zelKit/ModuleInfo.h"
#include "contracts/zelKit/Mutex.h"
#include "contracts/zelKit/Text.h"
#include "contracts/zelKit/Thread.h"
#include "contracts/zelKit/Time.h"
#include "contracts/zelKit/Trace.h"
#include "contracts/zelKit/Waiter.h"
