#include "base/UntilUnload.h"
#include "platform/ApiCall.h"
#include "platform/DeviceTreePicture.h"
#include "platform/HandleTable.h"
#include "platform/WindowsApi.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace Platform
{

namespace
{

constexpr DWORD ActiveInterface = 1; // SPINT_ACTIVE

/// Setup class of disk drives, as SP_DEVINFO_DATA tells it.
constexpr GUID DiskSetupClass = {
    0x4D36E967, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

struct Interface
{
    DEVINST node;
    const std::string* path;
};

/// The disk interfaces of a moment.
struct InterfaceList
{
    std::shared_ptr<const DeviceTreePicture> picture; ///< holds the paths
    std::vector<Interface> interfaces;
};

HandleTable<const InterfaceList>& Lists()
{
    static Base::UntilUnload<HandleTable<const InterfaceList>> lists;
    return *lists;
}

bool IsDiskClass(const GUID& guid)
{
    return std::memcmp(&guid, &DiskInterfaceClass, sizeof(GUID)) == 0;
}

void AppendInterfaces(std::size_t position, InterfaceList& list)
{
    for (const std::string& path : list.picture->Tree()[position].diskInterfaces)
        list.interfaces.push_back({list.picture->NodeAt(position), &path});
}

} // namespace

std::size_t OpenListCount()
{
    return Lists().Count();
}

HDEVINFO SetupDiGetClassDevsA(const GUID* interfaceClass, const CHAR* enumerator, HWND /*parent*/,
                              DWORD flags)
{
    const auto call = [&]() -> HDEVINFO
    {
        if (interfaceClass == nullptr)
            return FailCall(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
        // Lists of devices without regard to interfaces are nobody's need.
        if ((flags & DIGCF_DEVICEINTERFACE) == 0 ||
            (flags & ~(DIGCF_DEVICEINTERFACE | DIGCF_PRESENT)) != 0)
            return FailCall(ErrorInvalidFlags, INVALID_HANDLE_VALUE);

        auto list = std::make_shared<InterfaceList>();
        list->picture = LastPicture();
        if (enumerator != nullptr)
        {
            const std::size_t position = list->picture
                                             ? list->picture->PositionOf(std::string(enumerator))
                                             : DeviceNode::None;
            if (position == DeviceNode::None)
                return FailCall(ErrorInvalidData, INVALID_HANDLE_VALUE);
            if (IsDiskClass(*interfaceClass))
                AppendInterfaces(position, *list);
        }
        else if (list->picture && IsDiskClass(*interfaceClass))
        {
            for (std::size_t position = 0; position < list->picture->Tree().size(); ++position)
                AppendInterfaces(position, *list);
        }
        return Lists().Add(std::move(list));
    };
    return RunCall<HDEVINFO>("SetupDiGetClassDevsA", INVALID_HANDLE_VALUE, call);
}

BOOL SetupDiEnumDeviceInterfaces(HDEVINFO list, SP_DEVINFO_DATA* device, const GUID* interfaceClass,
                                 DWORD index, SP_DEVICE_INTERFACE_DATA* data)
{
    const auto call = [&]() -> BOOL
    {
        const auto found = Lists().Find(list);
        if (!found)
            return FailCall<BOOL>(ERROR_INVALID_HANDLE, 0);
        if (interfaceClass == nullptr || data == nullptr ||
            (device != nullptr && device->cbSize != sizeof(SP_DEVINFO_DATA)))
            return FailCall<BOOL>(ERROR_INVALID_PARAMETER, 0);
        if (data->cbSize != sizeof(SP_DEVICE_INTERFACE_DATA))
            return FailCall<BOOL>(ERROR_INVALID_USER_BUFFER, 0);
        if (!IsDiskClass(*interfaceClass))
            return FailCall<BOOL>(ERROR_NO_MORE_ITEMS, 0);
        DWORD seen = device == nullptr ? index : 0; // without a device to look for, all count
        for (std::size_t position = seen; position < found->interfaces.size(); ++position)
        {
            if (device != nullptr && device->DevInst != found->interfaces[position].node)
                continue;
            if (seen++ != index)
                continue;
            data->InterfaceClassGuid = DiskInterfaceClass;
            data->Flags = ActiveInterface;
            data->Reserved = position + 1;
            return 1;
        }
        return FailCall<BOOL>(ERROR_NO_MORE_ITEMS, 0);
    };
    return RunCall<BOOL>("SetupDiEnumDeviceInterfaces", 0, call);
}

BOOL SetupDiGetDeviceInterfaceDetailA(HDEVINFO list, SP_DEVICE_INTERFACE_DATA* data,
                                      SP_DEVICE_INTERFACE_DETAIL_DATA_A* detail, DWORD size,
                                      DWORD* requiredSize, SP_DEVINFO_DATA* device)
{
    const auto call = [&]() -> BOOL
    {
        const auto found = Lists().Find(list);
        if (!found)
            return FailCall<BOOL>(ERROR_INVALID_HANDLE, 0);
        if (data == nullptr || data->cbSize != sizeof(SP_DEVICE_INTERFACE_DATA) ||
            data->Reserved == 0 || data->Reserved > found->interfaces.size() ||
            (device != nullptr && device->cbSize != sizeof(SP_DEVINFO_DATA)))
            return FailCall<BOOL>(ERROR_INVALID_PARAMETER, 0);
        if (detail == nullptr ? size != 0
                              : size < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A) ||
                                    detail->cbSize != sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A))
            return FailCall<BOOL>(ERROR_INVALID_USER_BUFFER, 0);

        const auto& [node, path] = found->interfaces[data->Reserved - 1];
        constexpr std::size_t PathOffset = offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath);
        const auto needed = static_cast<DWORD>(
            std::max(PathOffset + path->size() + 1, sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A)));
        if (requiredSize != nullptr)
            *requiredSize = needed;
        if (size < needed)
            return FailCall<BOOL>(ERROR_INSUFFICIENT_BUFFER, 0);
        // By bytes: the path goes beyond the one character that the structure declares.
        std::memcpy(reinterpret_cast<char*>(detail) + PathOffset, path->c_str(), path->size() + 1);
        if (device != nullptr)
        {
            device->ClassGuid = DiskSetupClass;
            device->DevInst = node;
            device->Reserved = 0;
        }
        return 1;
    };
    return RunCall<BOOL>("SetupDiGetDeviceInterfaceDetailA", 0, call);
}

BOOL SetupDiDestroyDeviceInfoList(HDEVINFO list)
{
    const bool wasOpen = Lists().Remove(list) != nullptr;
    return RunCall<BOOL>("SetupDiDestroyDeviceInfoList", 0,
                         [&]() -> BOOL
                         { return wasOpen ? 1 : FailCall<BOOL>(ERROR_INVALID_HANDLE, 0); });
}

} // namespace Platform
