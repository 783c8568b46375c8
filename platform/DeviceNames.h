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

/// Finds a name in a map of names in lower case.
template <class Map> auto FindFolded(Map& names, const std::string& name)
{
    const auto found = names.find(name); // most come as they were given out
    return found != names.end() ? found : names.find(FoldCase(name));
}

/// Path of the disk interface at a position (from 0) of a device.
std::string DiskInterfacePath(std::string_view deviceId, std::size_t position);

} // namespace Platform
