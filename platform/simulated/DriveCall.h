// What a disk can be asked, as the machine file and the journal name it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Platform
{

enum class DriveCall : std::uint8_t
{
    Open,
    DeviceNumber,
    SmartVersion,
    Identify,
    SmartData,
    Length,
    Partitions
};

inline constexpr std::array<const char*, 7> DriveCallNames = {
    "open", "device_number", "smart_version", "identify", "smart_data", "length", "partitions"};

/// One entry for each call.
template <class T> using PerDriveCall = std::array<T, DriveCallNames.size()>;

constexpr std::size_t PositionOf(DriveCall call)
{
    return static_cast<std::size_t>(call);
}

} // namespace Platform
