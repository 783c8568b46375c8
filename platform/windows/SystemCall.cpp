#include "platform/windows/SystemCall.h"

#include "contracts/zelKit/windows/SystemCall.h"
#include "contracts/zelKit/windows/WideText.h"

#include <cstddef>

namespace Platform
{

DWORD OpenSystemFile(const std::string& path, DWORD access, SystemHandle& handle)
{
    const NoErrorBoxes quiet;
    const std::wstring widePath = ZKT::Misc::ToWide(path);
    const ZKT::Threading::CInterruptibleCall interruptible;
    handle =
        SystemHandle(::CreateFileW(widePath.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                   nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return handle.IsOpen() ? ERROR_SUCCESS : ::GetLastError();
}

DWORD CallDevice(const SystemHandle& device, DWORD code, void* input, DWORD inputSize, void* output,
                 DWORD outputSize, DWORD& written)
{
    const NoErrorBoxes quiet;
    const ZKT::Threading::CInterruptibleCall interruptible;
    const BOOL succeeded = ::DeviceIoControl(device.Get(), code, input, inputSize, output,
                                             outputSize, &written, nullptr);
    return succeeded != 0 ? ERROR_SUCCESS : ::GetLastError();
}

DWORD AskDevice(const SystemHandle& device, DWORD code, std::vector<BYTE>& answer)
{
    constexpr std::size_t Smallest = 1 << 12;
    constexpr std::size_t Largest = 1 << 20;
    DWORD error = ERROR_SUCCESS;
    for (std::size_t size = Smallest; size <= Largest; size *= 4)
    {
        answer.assign(size, 0);
        DWORD written = 0;
        error =
            CallDevice(device, code, nullptr, 0, answer.data(), static_cast<DWORD>(size), written);
        answer.resize(written);
        if (error != ERROR_INSUFFICIENT_BUFFER && error != ERROR_MORE_DATA)
            break;
    }
    return error;
}

} // namespace Platform
