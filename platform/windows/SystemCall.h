// Calls into Windows that may take long, and that a request to stop the thread breaks off.
#pragma once

#include "platform/windows/SystemHandle.h"

#include <string>
#include <vector>

namespace Platform
{

/// Opens what exists; synchronous, shared with everybody.
/// @param path    in UTF-8
/// @param access  0: to be asked what anybody may ask
DWORD OpenSystemFile(const std::string& path, DWORD access, SystemHandle& handle);

/// DeviceIoControl of Windows. @return the system's error
DWORD CallDevice(const SystemHandle& device, DWORD code, void* input, DWORD inputSize, void* output,
                 DWORD outputSize, DWORD& written);

/// For a code without input whose answer has as many entries as there are: asks with more and more
/// room. The answer has the size that was written.
DWORD AskDevice(const SystemHandle& device, DWORD code, std::vector<BYTE>& answer);

/// As long as it lives, Windows opens no box on this thread that asks for a medium.
class NoErrorBoxes
{
  public:
    NoErrorBoxes() { ::SetThreadErrorMode(SEM_FAILCRITICALERRORS, &m_Before); }
    ~NoErrorBoxes() { ::SetThreadErrorMode(m_Before, nullptr); }
    NoErrorBoxes(const NoErrorBoxes&) = delete;
    NoErrorBoxes& operator=(const NoErrorBoxes&) = delete;

  private:
    DWORD m_Before = 0;
};

/// For a code without input whose answer has a fixed size.
template <class Answer> DWORD AskDevice(const SystemHandle& device, DWORD code, Answer& answer)
{
    DWORD written = 0;
    const DWORD error = CallDevice(device, code, nullptr, 0, &answer, sizeof answer, written);
    if (error == ERROR_SUCCESS && written < sizeof answer)
        return ERROR_IO_DEVICE;
    return error;
}

} // namespace Platform
