#include "platform/DeviceNames.h"
#include "platform/simulated/Sections.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace Platform
{

namespace
{

constexpr std::size_t DeepestTree = 64;
constexpr std::size_t LongestDeviceId = 200;

class DeviceReader
{
  public:
    explicit DeviceReader(MachineRecord& machine) : m_Machine(machine)
    {
        m_Tree.emplace_back().id = RootDeviceId;
        m_Ids.insert(FoldCase(RootDeviceId));
    }

    void ReadChildren(const JsonValue& devices, std::size_t parent, std::size_t depth)
    {
        if (depth > DeepestTree && devices.Count() != 0)
            devices.Fail("the device tree is deeper than " + std::to_string(DeepestTree) +
                             " levels",
                         "give it fewer levels");
        std::size_t previous = DeviceNode::None;
        devices.EachItem(
            [&](std::size_t, const JsonValue& device)
            {
                const std::size_t position = ReadNode(device, parent);
                // The vector grows: nodes are named by position, never by reference.
                (previous == DeviceNode::None ? m_Tree[parent].firstChild
                                              : m_Tree[previous].nextSibling) = position;
                previous = position;
                if (device.Has("children"))
                    ReadChildren(device.Member("children"), position, depth + 1);
            });
    }

    DeviceTree Take() { return std::move(m_Tree); }

  private:
    std::size_t ReadNode(const JsonValue& device, std::size_t parent)
    {
        device.DemandObject({"id", "service", "children", "disks"});
        DeviceNode node;
        node.parent = parent;
        const JsonValue id = device.Member("id");
        node.id = id.Name(LongestDeviceId);
        if (!m_Ids.insert(FoldCase(node.id)).second)
            id.Fail("the id \"" + Printable(node.id, 80) + "\" stands twice in the tree",
                    "give each device an id of its own; letter case does not count");
        if (device.Has("service"))
        {
            node.service = device.Member("service").Text(LongestService);
            if (node.service.find('\0') != std::string::npos)
                device.Member("service").Fail("the text holds a NUL", "take it out");
        }
        if (device.Has("disks"))
            device.Member("disks").EachItem(
                [&](std::size_t, const JsonValue& disk)
                { AddInterface(node, static_cast<DWORD>(disk.Number(0, HighestDiskNumber))); });
        m_Tree.push_back(std::move(node));
        return m_Tree.size() - 1;
    }

    void AddInterface(DeviceNode& node, DWORD disk)
    {
        // Ids that differ in '\' and '#' only have paths alike; the next position tells them apart.
        std::size_t position = node.diskInterfaces.size();
        std::string path = DiskInterfacePath(node.id, position);
        if (!m_Machine.interfaces.emplace(path, disk).second)
        {
            std::size_t& last = m_LastPositions[DiskInterfacePath(node.id, 0)];
            position = std::max(position, last);
            do
                path = DiskInterfacePath(node.id, ++position);
            while (!m_Machine.interfaces.emplace(path, disk).second);
            last = position;
        }
        node.diskInterfaces.push_back(std::move(path));
        m_Machine.disks.emplace(disk, nullptr);
    }

    MachineRecord& m_Machine;
    DeviceTree m_Tree;
    std::unordered_set<std::string> m_Ids;
    /// The last position in use of paths that several ids have.
    std::unordered_map<std::string, std::size_t> m_LastPositions;
};

} // namespace

void ReadDevices(const JsonValue& top, MachineRecord& machine)
{
    DeviceReader reader(machine);
    if (top.Has("devices"))
        reader.ReadChildren(top.Member("devices"), 0, 1);
    machine.tree = std::make_shared<const DeviceTree>(reader.Take());
}

} // namespace Platform
