// Types, constants and wire structures of the Windows calls that the plug-in makes.
//
// On Windows they come from the system's own headers; elsewhere from the declarations below, which
// follow the published ones. The assertions at the end hold for both.
#pragma once

#include <cstddef>

#if defined(_WIN32)

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <winioctl.h>

#include <cfgmgr32.h>
#include <setupapi.h>

#else

#include <cstdint>

using BOOL = int;
using BYTE = std::uint8_t;
using UCHAR = std::uint8_t;
using CHAR = char;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using ULONG = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONG_PTR = std::uintptr_t;
using PVOID = void*;
using HANDLE = void*;
using HWND = void*;
using HDEVINFO = void*;
using DEVINST = DWORD;
using CONFIGRET = DWORD;

struct GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};

union LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        std::int32_t HighPart;
    } u;
    LONGLONG QuadPart;
};

struct SECURITY_ATTRIBUTES;
struct OVERLAPPED;

struct SP_DEVINFO_DATA
{
    DWORD cbSize;
    GUID ClassGuid;
    DWORD DevInst;
    ULONG_PTR Reserved;
};

struct SP_DEVICE_INTERFACE_DATA
{
    DWORD cbSize;
    GUID InterfaceClassGuid;
    DWORD Flags;
    ULONG_PTR Reserved;
};

struct SP_DEVICE_INTERFACE_DETAIL_DATA_A
{
    DWORD cbSize;
    CHAR DevicePath[1];
};

struct STORAGE_DEVICE_NUMBER
{
    DWORD DeviceType;
    DWORD DeviceNumber;
    DWORD PartitionNumber;
};

struct GET_LENGTH_INFORMATION
{
    LARGE_INTEGER Length;
};

#pragma pack(push, 1)
struct GETVERSIONINPARAMS
{
    BYTE bVersion;
    BYTE bRevision;
    BYTE bReserved;
    BYTE bIDEDeviceMap;
    DWORD fCapabilities;
    DWORD dwReserved[4];
};

struct IDEREGS
{
    BYTE bFeaturesReg;
    BYTE bSectorCountReg;
    BYTE bSectorNumberReg;
    BYTE bCylLowReg;
    BYTE bCylHighReg;
    BYTE bDriveHeadReg;
    BYTE bCommandReg;
    BYTE bReserved;
};

struct SENDCMDINPARAMS
{
    DWORD cBufferSize;
    IDEREGS irDriveRegs;
    BYTE bDriveNumber;
    BYTE bReserved[3];
    DWORD dwReserved[4];
    BYTE bBuffer[1];
};

struct DRIVERSTATUS
{
    BYTE bDriverError;
    BYTE bIDEError;
    BYTE bReserved[2];
    DWORD dwReserved[2];
};

struct SENDCMDOUTPARAMS
{
    DWORD cBufferSize;
    DRIVERSTATUS DriverStatus;
    BYTE bBuffer[1];
};
#pragma pack(pop)

inline constexpr CONFIGRET CR_SUCCESS = 0x00;
inline constexpr CONFIGRET CR_OUT_OF_MEMORY = 0x02;
inline constexpr CONFIGRET CR_INVALID_POINTER = 0x03;
inline constexpr CONFIGRET CR_INVALID_FLAG = 0x04;
inline constexpr CONFIGRET CR_INVALID_DEVNODE = 0x05;
inline constexpr CONFIGRET CR_NO_SUCH_DEVNODE = 0x0D;
inline constexpr CONFIGRET CR_FAILURE = 0x13;
inline constexpr CONFIGRET CR_BUFFER_SMALL = 0x1A;
inline constexpr CONFIGRET CR_INVALID_PROPERTY = 0x35;
inline constexpr CONFIGRET CR_NO_SUCH_VALUE = 0x25;
inline constexpr ULONG CM_DRP_SERVICE = 5;

inline constexpr DWORD DIGCF_PRESENT = 0x02;
inline constexpr DWORD DIGCF_DEVICEINTERFACE = 0x10;

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 128;
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1)))

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_INVALID_FUNCTION = 1;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_OUTOFMEMORY = 14;
inline constexpr DWORD ERROR_NOT_READY = 21;
inline constexpr DWORD ERROR_OPERATION_ABORTED = 995;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_NO_SYSTEM_RESOURCES = 1450;
inline constexpr DWORD ERROR_NONPAGED_SYSTEM_RESOURCES = 1451;
inline constexpr DWORD ERROR_PAGED_SYSTEM_RESOURCES = 1452;
inline constexpr DWORD ERROR_WORKING_SET_QUOTA = 1453;
inline constexpr DWORD ERROR_PAGEFILE_QUOTA = 1454;
inline constexpr DWORD ERROR_COMMITMENT_LIMIT = 1455;
inline constexpr DWORD ERROR_INVALID_USER_BUFFER = 1784;
inline constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;

inline constexpr DWORD IOCTL_STORAGE_GET_DEVICE_NUMBER = 0x002D1080;
inline constexpr DWORD IOCTL_DISK_GET_LENGTH_INFO = 0x0007405C;
inline constexpr DWORD SMART_GET_VERSION = 0x00074080;
inline constexpr DWORD SMART_RCV_DRIVE_DATA = 0x0007C088;

inline constexpr BYTE ID_CMD = 0xEC;
inline constexpr BYTE SMART_CMD = 0xB0;
inline constexpr BYTE READ_ATTRIBUTES = 0xD0;
inline constexpr BYTE SMART_CYL_LOW = 0x4F;
inline constexpr BYTE SMART_CYL_HI = 0xC2;

#endif

namespace Platform
{

/// Interface class of disks.
inline constexpr GUID DiskInterfaceClass = {
    0x53F56307, 0xB6BF, 0x11D0, {0x94, 0xF2, 0x00, 0xA0, 0xC9, 0x1E, 0xFB, 0x8B}};

/// Data of one ATA sector, and where it stands in a reply.
inline constexpr DWORD SectorBytes = 512;
inline constexpr DWORD ReplyDataOffset = 16;

static_assert(sizeof(GUID) == 16);
static_assert(sizeof(SP_DEVINFO_DATA) == 32);
static_assert(sizeof(SP_DEVICE_INTERFACE_DATA) == 32);
static_assert(sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A) == 8);
static_assert(sizeof(STORAGE_DEVICE_NUMBER) == 12);
static_assert(sizeof(GET_LENGTH_INFORMATION) == 8);
static_assert(sizeof(GETVERSIONINPARAMS) == 24);
static_assert(offsetof(SP_DEVINFO_DATA, DevInst) == 20);
static_assert(offsetof(SP_DEVICE_INTERFACE_DATA, Reserved) == 24);
static_assert(offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath) == 4);
static_assert(offsetof(STORAGE_DEVICE_NUMBER, DeviceNumber) == 4);
static_assert(offsetof(GETVERSIONINPARAMS, fCapabilities) == 4);
static_assert(sizeof(IDEREGS) == 8);
static_assert(offsetof(IDEREGS, bCommandReg) == 6);
static_assert(sizeof(SENDCMDINPARAMS) == 33);
static_assert(offsetof(SENDCMDINPARAMS, irDriveRegs) == 4);
static_assert(offsetof(SENDCMDINPARAMS, bDriveNumber) == 12);
static_assert(offsetof(SENDCMDINPARAMS, bBuffer) == 32);
static_assert(sizeof(DRIVERSTATUS) == 12);
static_assert(offsetof(SENDCMDOUTPARAMS, DriverStatus) == 4);
static_assert(sizeof(SENDCMDOUTPARAMS) == 17);
static_assert(sizeof(SENDCMDOUTPARAMS) - 1 == ReplyDataOffset);
static_assert(static_cast<DWORD>(IOCTL_STORAGE_GET_DEVICE_NUMBER) == 0x002D1080);
static_assert(static_cast<DWORD>(IOCTL_DISK_GET_LENGTH_INFO) == 0x0007405C);
static_assert(static_cast<DWORD>(SMART_GET_VERSION) == 0x00074080);
static_assert(static_cast<DWORD>(SMART_RCV_DRIVE_DATA) == 0x0007C088);
static_assert(ID_CMD == 0xEC && SMART_CMD == 0xB0 && READ_ATTRIBUTES == 0xD0);
static_assert(SMART_CYL_LOW == 0x4F && SMART_CYL_HI == 0xC2);
static_assert(CM_DRP_SERVICE == 5);
static_assert(CR_SUCCESS == 0 && CR_OUT_OF_MEMORY == 2);
static_assert(CR_INVALID_POINTER == 3 && CR_INVALID_FLAG == 4);
static_assert(CR_INVALID_DEVNODE == 5 && CR_NO_SUCH_DEVNODE == 13 && CR_FAILURE == 19);
static_assert(CR_BUFFER_SMALL == 26 && CR_INVALID_PROPERTY == 53 && CR_NO_SUCH_VALUE == 37);
static_assert(DIGCF_PRESENT == 2 && DIGCF_DEVICEINTERFACE == 16);
static_assert(static_cast<DWORD>(GENERIC_READ) == 0x80000000 && GENERIC_WRITE == 0x40000000);
static_assert(FILE_SHARE_READ == 1 && FILE_SHARE_WRITE == 2 && FILE_SHARE_DELETE == 4);
static_assert(OPEN_EXISTING == 3 && FILE_ATTRIBUTE_NORMAL == 128);
static_assert(ERROR_SUCCESS == 0 && ERROR_INVALID_FUNCTION == 1 && ERROR_FILE_NOT_FOUND == 2);
static_assert(ERROR_ACCESS_DENIED == 5 && ERROR_INVALID_HANDLE == 6);
static_assert(ERROR_NOT_ENOUGH_MEMORY == 8 && ERROR_NOT_READY == 21 && ERROR_GEN_FAILURE == 31);
static_assert(ERROR_INVALID_PARAMETER == 87 && ERROR_INSUFFICIENT_BUFFER == 122);
static_assert(ERROR_NO_MORE_ITEMS == 259 && ERROR_IO_DEVICE == 1117);
static_assert(ERROR_INVALID_USER_BUFFER == 1784);
static_assert(ERROR_TOO_MANY_OPEN_FILES == 4 && ERROR_OUTOFMEMORY == 14);
static_assert(ERROR_NO_SYSTEM_RESOURCES == 1450 && ERROR_NONPAGED_SYSTEM_RESOURCES == 1451);
static_assert(ERROR_PAGED_SYSTEM_RESOURCES == 1452 && ERROR_WORKING_SET_QUOTA == 1453);
static_assert(ERROR_PAGEFILE_QUOTA == 1454 && ERROR_COMMITMENT_LIMIT == 1455);
static_assert(ERROR_NOT_ENOUGH_QUOTA == 1816);

} // namespace Platform
