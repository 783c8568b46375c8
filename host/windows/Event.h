// An event of Windows, for those who wait for several things at once.
#pragma once

#include "host/Failure.h"

#include <windows.h>

namespace Host
{

class Event
{
  public:
    /// @throws Failure
    Event(bool manualReset, bool initiallySet)
        : m_Handle(CreateEventW(nullptr, manualReset ? TRUE : FALSE, initiallySet ? TRUE : FALSE,
                                nullptr))
    {
        if (m_Handle == nullptr)
            throw Failure(EXIT_PLUGIN, "cannot wait for events: the system gives no event");
    }
    ~Event() { CloseHandle(m_Handle); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    HANDLE Get() const { return m_Handle; }
    void Set() const { SetEvent(m_Handle); }
    void Reset() const { ResetEvent(m_Handle); }

  private:
    HANDLE m_Handle;
};

} // namespace Host
