// zelPlug: the types that plug-in and host share. Namespace PI.
#pragma once

#include "contracts/zelPlug/AdapterID.h"
#include "contracts/zelPlug/ConfigFile.h"
#include "contracts/zelPlug/Event.h"
#include "contracts/zelPlug/GlobalAdapterID.h"
#include "contracts/zelPlug/LifeTimeTable.h"
#include "contracts/zelPlug/Object.h"
#include "contracts/zelPlug/Operation.h"
#include "contracts/zelPlug/PluginHelper.h"
#include "contracts/zelPlug/Property.h"
#include "contracts/zelPlug/Settings.h"
#include "contracts/zelPlug/SmartValues.h"
#include "contracts/zelPlug/WholeFile.h"
#include "vocabulary/Identifiers.h"
