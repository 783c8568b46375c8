#include "tarnis/Src/tarnisPlugin/Discovery.h"

#include "platform/Handles.h"
#include "platform/Shortage.h"
#include "platform/WindowsApi.h"

#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace NAMESPACE_tarnis
{
namespace
{

constexpr std::string_view SupportedDrivers[] = {"msahci", "storahci", "iastora"};
constexpr std::string_view DiskService = "disk";
constexpr ULONG ServiceNameBytes = 200;
constexpr ULONG DeviceIdBytes = 2048;

bool SameName(std::string_view name, std::string_view candidate)
{
    // Most names are told apart without the locale, and each character costs a look into it.
    return name.size() == candidate.size() &&
           (name == candidate || boost::algorithm::iequals(name, candidate));
}

/// Service name of a node; empty when it has none.
std::string ServiceOf(DEVINST node)
{
    char name[ServiceNameBytes]; // not looked at unless it was filled
    ULONG length = ServiceNameBytes;
    if (!Platform::Stepped(Platform::CM_Get_DevNode_Registry_PropertyA(node, CM_DRP_SERVICE,
                                                                       nullptr, name, &length, 0)))
        return {};
    name[ServiceNameBytes - 1] = '\0';
    return name;
}

using Step = CONFIGRET (*)(DEVINST* to, DEVINST from, ULONG flags);

/// The node that a step leads to, or nothing.
std::optional<DEVINST> Go(Step step, DEVINST node)
{
    DEVINST to = 0;
    return Platform::Stepped(step(&to, node, 0)) ? std::optional<DEVINST>(to) : std::nullopt;
}

/// What the system tells of an interface; longer than its type by the path.
struct InterfaceDetail
{
    std::unique_ptr<DWORD[]> block;

    SP_DEVICE_INTERFACE_DETAIL_DATA_A* Get() const
    {
        return reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A*>(block.get());
    }
};

/// Detail of one interface, or nothing.
std::optional<InterfaceDetail> DetailOf(HDEVINFO list, SP_DEVICE_INTERFACE_DATA& interfaceData)
{
    DWORD size = 0;
    Platform::SetupDiGetDeviceInterfaceDetailA(list, &interfaceData, nullptr, 0, &size, nullptr);
    Platform::ThrowShortage(Platform::GetLastError());
    if (Platform::GetLastError() != ERROR_INSUFFICIENT_BUFFER ||
        size < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A))
        return std::nullopt;

    // The size comes from the system.
    const std::size_t units = (std::size_t{size} + sizeof(DWORD) - 1) / sizeof(DWORD) + 1;
    InterfaceDetail detail{std::unique_ptr<DWORD[]>(new (std::nothrow) DWORD[units]())};
    if (!detail.block)
        throw Platform::Shortage();
    detail.Get()->cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A);
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    if (!Platform::Succeeded(Platform::SetupDiGetDeviceInterfaceDetailA(
            list, &interfaceData, detail.Get(), size, &size, &device)))
        return std::nullopt;
    return detail;
}

/// Disk number behind an interface, or nothing.
std::optional<std::uint32_t> DiskNumberOf(const char* path)
{
    const Platform::DeviceHandle device(
        Platform::CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!Platform::GaveHandle(device.Get()))
        return std::nullopt;
    STORAGE_DEVICE_NUMBER number = {};
    DWORD returned = 0;
    if (!Platform::Succeeded(Platform::DeviceIoControl(device.Get(),
                                                       IOCTL_STORAGE_GET_DEVICE_NUMBER, nullptr, 0,
                                                       &number, sizeof number, &returned, nullptr)))
        return std::nullopt;
    return number.DeviceNumber;
}

/// Appends the numbers of all disk interfaces of one node.
void AppendDiskNumbers(DEVINST node, std::vector<std::uint32_t>& driveNumbers)
{
    char deviceId[DeviceIdBytes];
    if (!Platform::Stepped(Platform::CM_Get_Device_IDA(node, deviceId, DeviceIdBytes, 0)))
        return;
    const Platform::DeviceInfoList list(Platform::SetupDiGetClassDevsA(
        &Platform::DiskInterfaceClass, deviceId, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE));
    if (!Platform::GaveHandle(list.Get()))
        return;

    for (DWORD index = 0;; ++index)
    {
        SP_DEVICE_INTERFACE_DATA interfaceData = {};
        interfaceData.cbSize = sizeof interfaceData;
        if (!Platform::Succeeded(Platform::SetupDiEnumDeviceInterfaces(
                list.Get(), nullptr, &Platform::DiskInterfaceClass, index, &interfaceData)))
            return;
        if (const auto detail = DetailOf(list.Get(), interfaceData))
            if (const auto number = DiskNumberOf(detail->Get()->DevicePath))
                driveNumbers.push_back(*number);
    }
}

} // namespace

bool FindStorageDriver(std::string& driverName, std::vector<std::uint32_t>& driveNumbers,
                       bool* isComplete)
{
    DEVINST root = 0;
    std::optional<DEVINST> node;
    if (Platform::Stepped(Platform::CM_Locate_DevNodeA(&root, nullptr, 0)))
        node = root;

    while (node)
    {
        const std::string service = ServiceOf(*node);
        const bool supported =
            std::any_of(std::begin(SupportedDrivers), std::end(SupportedDrivers),
                        [&](std::string_view name) { return SameName(service, name); });
        if (supported)
        {
            driverName = service;
            CollectDiskNumbers(*node, driveNumbers, isComplete);
        }

        // Pre-order; the walk is over when it has climbed past the root.
        std::optional<DEVINST> next = Go(Platform::CM_Get_Child, *node);
        while (node && !next)
        {
            next = Go(Platform::CM_Get_Sibling, *node);
            if (!next)
                node = Go(Platform::CM_Get_Parent, *node);
        }
        node = next;
    }
    return !driverName.empty();
}

void CollectDiskNumbers(DEVINST controllerNode, std::vector<std::uint32_t>& driveNumbers,
                        bool* isComplete)
{
    std::optional<DEVINST> node = Go(Platform::CM_Get_Child, controllerNode);
    int depth = 1;
    while (node)
    {
        if (SameName(ServiceOf(*node), DiskService))
        {
            const std::size_t known = driveNumbers.size();
            AppendDiskNumbers(*node, driveNumbers);
            if (isComplete != nullptr && driveNumbers.size() == known)
                *isComplete = false;
        }

        std::optional<DEVINST> next = Go(Platform::CM_Get_Child, *node);
        if (next)
            ++depth;
        while (!next)
        {
            next = Go(Platform::CM_Get_Sibling, *node);
            if (next)
                break;
            node = Go(Platform::CM_Get_Parent, *node);
            --depth;
            if (!node || *node == controllerNode || depth == 0)
                return;
        }
        node = next;
    }
}

} // namespace NAMESPACE_tarnis
