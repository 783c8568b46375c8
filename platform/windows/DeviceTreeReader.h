// The device tree of the configuration manager.
#pragma once

#include "platform/Machine.h"

namespace Platform
{

/// A fresh picture; null when Windows gives no root.
std::shared_ptr<const DeviceTree> ReadSystemTree();

} // namespace Platform
