// The gate that every call of WindowsApi.h passes. A test can refuse calls there and see what the
// caller makes of it.
#pragma once

#include "contracts/Export.h"

#include <functional>

namespace Platform
{

/// Asked before each call with the call's name; true lets it pass. A refused call fails as Windows
/// would let it fail and does nothing, but for the releasing calls CloseHandle and
/// SetupDiDestroyDeviceInfoList, which release all the same. Called from any thread.
using CallGate = std::function<bool(const char* name)>;

/// Sets the gate; an empty one lets everything pass. Not to be changed while calls are under way.
PLATFORM_API void SetCallGate(CallGate gate);

} // namespace Platform
