#include "platform/windows/SystemCall.h"

#include "contracts/zelKit/windows/Cancellation.h"
#include "contracts/zelKit/windows/WideText.h"

namespace Platform
{

DWORD OpenSystemFile(const std::string& path, DWORD access, SystemHandle& handle)
{
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

} // namespace Platform
