// A handle of Windows itself, closed with its owner.
#pragma once

#include "platform/WindowsTypes.h"

#include <utility>

namespace Platform
{

class SystemHandle
{
  public:
    explicit SystemHandle(HANDLE handle = INVALID_HANDLE_VALUE) : m_Handle(handle) {}
    SystemHandle(SystemHandle&& other) noexcept
        : m_Handle(std::exchange(other.m_Handle, INVALID_HANDLE_VALUE))
    {
    }
    SystemHandle& operator=(SystemHandle&& other) noexcept
    {
        std::swap(m_Handle, other.m_Handle);
        return *this;
    }
    ~SystemHandle()
    {
        if (IsOpen())
            ::CloseHandle(m_Handle);
    }

    HANDLE Get() const { return m_Handle; }
    bool IsOpen() const { return m_Handle != INVALID_HANDLE_VALUE; }

  private:
    HANDLE m_Handle;
};

} // namespace Platform
