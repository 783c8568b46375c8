#include "platform/windows/DeviceTreeReader.h"

#include "contracts/zelKit/windows/WideText.h"
#include "platform/Shortage.h"

#include <cstddef>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Platform
{

namespace
{

using InterfacesByNode = std::map<DEVINST, std::vector<std::string>>;

/// Whether a call of the system has succeeded. @throws Shortage
bool SystemSucceeded(BOOL result)
{
    if (result == 0)
        ThrowShortage(::GetLastError());
    return result != 0;
}

/// The path of a disk interface, and the node that it belongs to.
bool ReadInterface(HDEVINFO list, SP_DEVICE_INTERFACE_DATA& data, DEVINST& node, std::string& path)
{
    DWORD size = 0;
    ::SetupDiGetDeviceInterfaceDetailW(list, &data, nullptr, 0, &size, nullptr);
    ThrowShortage(::GetLastError());
    if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER ||
        size < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W))
        return false;
    std::vector<std::max_align_t> block(size / sizeof(std::max_align_t) + 1);
    auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(block.data());
    detail->cbSize = sizeof *detail;
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    if (!SystemSucceeded(
            ::SetupDiGetDeviceInterfaceDetailW(list, &data, detail, size, nullptr, &device)))
        return false;
    node = device.DevInst;
    path = ZKT::Misc::FromWide(detail->DevicePath);
    return true;
}

/// All disk interfaces that are there, by one list for the whole tree.
InterfacesByNode ReadDiskInterfaces()
{
    struct List
    {
        HDEVINFO handle;
        ~List()
        {
            if (handle != INVALID_HANDLE_VALUE)
                ::SetupDiDestroyDeviceInfoList(handle);
        }
    };
    InterfacesByNode interfaces;
    const List list{::SetupDiGetClassDevsW(&DiskInterfaceClass, nullptr, nullptr,
                                           DIGCF_PRESENT | DIGCF_DEVICEINTERFACE)};
    if (!SystemSucceeded(list.handle != INVALID_HANDLE_VALUE))
        return interfaces;
    SP_DEVICE_INTERFACE_DATA data = {};
    data.cbSize = sizeof data;
    for (DWORD index = 0; SystemSucceeded(::SetupDiEnumDeviceInterfaces(
             list.handle, nullptr, &DiskInterfaceClass, index, &data));
         ++index)
    {
        DEVINST node = 0;
        std::string path;
        if (ReadInterface(list.handle, data, node, path))
            interfaces[node].push_back(std::move(path));
    }
    return interfaces;
}

DeviceNode ReadNode(DEVINST node, const InterfacesByNode& interfaces)
{
    DeviceNode device;
    wchar_t id[MAX_DEVICE_ID_LEN + 1] = {};
    if (Stepped(::CM_Get_Device_IDW(node, id, std::size(id), 0)))
        device.id = ZKT::Misc::FromWide(id);
    wchar_t service[256] = {};
    ULONG bytes = sizeof service - sizeof(wchar_t);
    if (Stepped(
            ::CM_Get_DevNode_Registry_PropertyW(node, CM_DRP_SERVICE, nullptr, service, &bytes, 0)))
        device.service = ZKT::Misc::FromWide(service);
    if (const auto found = interfaces.find(node); found != interfaces.end())
        device.diskInterfaces = found->second;
    return device;
}

bool IsThere(DEVINST node)
{
    ULONG status = 0;
    ULONG problem = 0;
    return Stepped(::CM_Get_DevNode_Status(&status, &problem, node, 0));
}

/// Reads all nodes. @return whether the tree stood still: a node that goes takes the way to its
/// next siblings with it
bool ReadTree(DEVINST root, const InterfacesByNode& interfaces, DeviceTree& tree)
{
    bool stoodStill = true;
    tree.push_back(ReadNode(root, interfaces));
    // Each entry of the tree is gone through once, and its children are put behind all that is
    // there.
    std::vector<DEVINST> nodes = {root};
    std::set<DEVINST> seen = {root};
    for (std::size_t parent = 0; parent < nodes.size(); ++parent)
    {
        std::size_t previous = parent;
        DEVINST child = 0;
        for (bool isThere = Stepped(::CM_Get_Child(&child, nodes[parent], 0)); isThere;
             isThere = Stepped(::CM_Get_Sibling(&child, child, 0)))
        {
            if (!seen.insert(child).second)
            {
                stoodStill = false;
                break;
            }
            const std::size_t position = tree.size();
            tree.push_back(ReadNode(child, interfaces));
            tree.back().parent = parent;
            (previous == parent ? tree[parent].firstChild : tree[previous].nextSibling) = position;
            previous = position;
            nodes.push_back(child);
        }
        stoodStill = stoodStill && IsThere(nodes[previous]);
    }
    return stoodStill;
}

} // namespace

std::shared_ptr<const DeviceTree> ReadSystemTree()
{
    constexpr int Attempts = 3; // what changes for longer than that is shown at the next walk
    std::shared_ptr<DeviceTree> tree;
    for (int attempt = 0; attempt < Attempts; ++attempt)
    {
        DEVINST root = 0;
        if (!Stepped(::CM_Locate_DevNodeW(&root, nullptr, CM_LOCATE_DEVNODE_NORMAL)))
            return nullptr;
        tree = std::make_shared<DeviceTree>();
        if (ReadTree(root, ReadDiskInterfaces(), *tree))
            break;
    }
    return tree;
}

} // namespace Platform
