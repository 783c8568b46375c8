// Texts that name devices.
#pragma once

#include <string>
#include <string_view>

namespace Platform
{

/// Id of the root of every device tree.
inline constexpr char RootDeviceId[] = "HTREE\\ROOT\\0";

/// The text in lower case, for comparing names as Windows does. Letters of ASCII only: device ids
/// and service names have no others.
std::string FoldCase(std::string_view text);

/// Path of the disk interface at a position (from 0) of a device.
std::string DiskInterfacePath(std::string_view deviceId, std::size_t position);

} // namespace Platform
