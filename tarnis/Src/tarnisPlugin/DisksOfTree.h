#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace NAMESPACE_tarnis
{

/// The disks that a walk of the device tree found, whether they answer or not. A drive that does
/// not answer this process may answer another one, which keeps its row.
struct DisksOfTree
{
    std::vector<std::uint32_t> numbers;
    bool isComplete = true; ///< false when a disk is there whose number could not be had

    bool Lacks(std::int32_t number) const
    {
        return isComplete && std::find(numbers.begin(), numbers.end(),
                                       static_cast<std::uint32_t>(number)) == numbers.end();
    }
};

} // namespace NAMESPACE_tarnis
