// The device tree as the calls number it.
#pragma once

#include "platform/Machine.h"

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

namespace Platform
{

/// One picture of the device tree, with a number for each node. Does not change.
class DeviceTreePicture
{
  public:
    DeviceTreePicture(std::shared_ptr<const DeviceTree> tree, DEVINST first);

    const DeviceTree& Tree() const { return *m_Tree; }
    bool Shows(const std::shared_ptr<const DeviceTree>& tree) const { return tree == m_Tree; }

    /// Position in the tree; DeviceNode::None for a number of another picture.
    std::size_t PositionOf(DEVINST node) const;
    /// Ignoring letter case; DeviceNode::None for an unknown id.
    std::size_t PositionOf(const std::string& deviceId) const;
    DEVINST NodeAt(std::size_t position) const { return m_First + static_cast<DEVINST>(position); }

  private:
    std::shared_ptr<const DeviceTree> m_Tree;
    DEVINST m_First;
    std::unordered_map<std::string, std::size_t> m_ById; ///< as it is written, and in lower case
};

/// A fresh picture, which is the last one from now on; null when there is no tree. A machine that
/// gives the same tree again keeps its numbers.
std::shared_ptr<const DeviceTreePicture> TakePicture();

/// The last picture; takes one if there is none.
std::shared_ptr<const DeviceTreePicture> LastPicture();

/// The machine is another from now on.
void ForgetPicture();

} // namespace Platform
