// The Windows calls of the plug-in, carried out on the machine of this process (see Machine.h).
//
// Names, arguments and results are those of Windows. A call that fails leaves its cause for
// Platform::GetLastError of the same thread, where Windows does. Safe from any thread.
//
// Device nodes are numbers of one walk: CM_Locate_DevNodeA takes a fresh picture of the device
// tree, and nodes of an older picture are answered with CR_NO_SUCH_DEVNODE.
#pragma once

#include "contracts/Export.h"
#include "platform/WindowsTypes.h"

#include <cstddef>

namespace Platform
{

// Device tree.
PLATFORM_API CONFIGRET CM_Locate_DevNodeA(DEVINST* node, CHAR* deviceId, ULONG flags);
PLATFORM_API CONFIGRET CM_Get_Child(DEVINST* child, DEVINST node, ULONG flags);
PLATFORM_API CONFIGRET CM_Get_Sibling(DEVINST* sibling, DEVINST node, ULONG flags);
PLATFORM_API CONFIGRET CM_Get_Parent(DEVINST* parent, DEVINST node, ULONG flags);
PLATFORM_API CONFIGRET CM_Get_Device_IDA(DEVINST node, CHAR* buffer, ULONG length, ULONG flags);
/// Knows CM_DRP_SERVICE alone. `length` is the buffer's size going in and the text's, with its NUL,
/// coming out.
PLATFORM_API CONFIGRET CM_Get_DevNode_Registry_PropertyA(DEVINST node, ULONG property, ULONG* type,
                                                         PVOID buffer, ULONG* length, ULONG flags);

// Device interfaces.
PLATFORM_API HDEVINFO SetupDiGetClassDevsA(const GUID* interfaceClass, const CHAR* enumerator,
                                           HWND parent, DWORD flags);
PLATFORM_API BOOL SetupDiEnumDeviceInterfaces(HDEVINFO list, SP_DEVINFO_DATA* device,
                                              const GUID* interfaceClass, DWORD index,
                                              SP_DEVICE_INTERFACE_DATA* data);
PLATFORM_API BOOL SetupDiGetDeviceInterfaceDetailA(HDEVINFO list, SP_DEVICE_INTERFACE_DATA* data,
                                                   SP_DEVICE_INTERFACE_DETAIL_DATA_A* detail,
                                                   DWORD size, DWORD* requiredSize,
                                                   SP_DEVINFO_DATA* device);
PLATFORM_API BOOL SetupDiDestroyDeviceInfoList(HDEVINFO list);

// Devices. Synchronous; a call takes as long as the device takes.
PLATFORM_API HANDLE CreateFileA(const CHAR* path, DWORD access, DWORD shareMode,
                                SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD attributes,
                                HANDLE templateFile);
PLATFORM_API BOOL DeviceIoControl(HANDLE device, DWORD code, PVOID input, DWORD inputSize,
                                  PVOID output, DWORD outputSize, DWORD* returned,
                                  OVERLAPPED* overlapped);
PLATFORM_API BOOL CloseHandle(HANDLE handle);
PLATFORM_API DWORD GetLastError();

/// Handles and lists that are open at this moment, in the whole process.
PLATFORM_API std::size_t OpenHandleCount();

} // namespace Platform
