#include "platform/windows/SystemCall.h"

#include "contracts/zelKit/windows/Cancellation.h"
#include "contracts/zelKit/windows/WideText.h"

#include <cstddef>

namespace Platform
{

DWORD OpenSystemFile(const std::string& path, DWORD access, SystemHandle& handle)
{
    const NoErrorBoxes quiet;
    const std::wstring widePath = ZKT::Misc::ToWide(path);
    DWORD error = ERROR_SUCCESS;
    ZKT::Threading::RunCancellable(
        [&]
        {
            handle = SystemHandle(::CreateFileW(widePath.c_str(), access,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
            if (!handle.IsOpen())
                error = ::GetLastError();
        });
    return error;
}

DWORD CallDevice(const SystemHandle& device, DWORD code, void* input, DWORD inputSize, void* output,
                 DWORD outputSize, DWORD& written)
{
    const NoErrorBoxes quiet;
    DWORD error = ERROR_SUCCESS;
    ZKT::Threading::RunCancellable(
        [&]
        {
            if (::DeviceIoControl(device.Get(), code, input, inputSize, output, outputSize,
                                  &written, nullptr) == 0)
                error = ::GetLastError();
        });
    return error;
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
