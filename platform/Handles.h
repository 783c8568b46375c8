// Owners of the handles that WindowsApi.h gives out.
#pragma once

#include "platform/WindowsApi.h"

namespace Platform
{

/// Owns one device handle. Move-only would do; nobody needs to move it.
class DeviceHandle
{
  public:
    explicit DeviceHandle(HANDLE handle) : m_Handle(handle) {}
    ~DeviceHandle() { Close(); }
    DeviceHandle(const DeviceHandle&) = delete;
    DeviceHandle& operator=(const DeviceHandle&) = delete;

    bool IsOpen() const { return m_Handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_Handle; }
    void Close()
    {
        if (IsOpen())
            CloseHandle(m_Handle);
        m_Handle = INVALID_HANDLE_VALUE;
    }

  private:
    HANDLE m_Handle;
};

/// Owns one list of device interfaces.
class DeviceInfoList
{
  public:
    explicit DeviceInfoList(HDEVINFO list) : m_List(list) {}
    ~DeviceInfoList()
    {
        if (IsOpen())
            SetupDiDestroyDeviceInfoList(m_List);
    }
    DeviceInfoList(const DeviceInfoList&) = delete;
    DeviceInfoList& operator=(const DeviceInfoList&) = delete;

    bool IsOpen() const { return m_List != INVALID_HANDLE_VALUE; }
    HDEVINFO Get() const { return m_List; }

  private:
    HDEVINFO m_List;
};

} // namespace Platform
