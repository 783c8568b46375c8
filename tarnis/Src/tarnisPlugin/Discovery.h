// Which supported storage driver runs on the machine, and which disks hang below it.
//
// Nothing is kept between calls: every call walks the device tree afresh. A step that fails drops
// its own node or interface and nothing else, but for a lack of memory or of descriptors, which
// says nothing about a disk and ends the walk with std::bad_alloc. No lock is needed: only the
// arguments are touched.
#pragma once

#include "platform/WindowsTypes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace NAMESPACE_tarnis
{

/// Walks the whole tree for nodes of a supported service ("msahci", "storahci", "iastora").
/// @param driverName    overwritten at every matching node with the service name as the system
///                      writes it, and not cleared before
/// @param driveNumbers  the disk numbers below all matching nodes are appended, in walk order
/// @param isComplete    cleared when a disk is there whose number cannot be had; may be null
/// @return whether `driverName` is not empty in the end
bool FindStorageDriver(std::string& driverName, std::vector<std::uint32_t>& driveNumbers,
                       bool* isComplete = nullptr);

/// Appends the number of every disk below a controller's node, however deep.
void CollectDiskNumbers(DEVINST controllerNode, std::vector<std::uint32_t>& driveNumbers,
                        bool* isComplete = nullptr);

} // namespace NAMESPACE_tarnis
