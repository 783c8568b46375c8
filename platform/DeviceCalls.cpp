#include "base/UntilUnload.h"
#include "platform/ApiCall.h"
#include "platform/DiskAnswers.h"
#include "platform/DriveControl.h"
#include "platform/HandleTable.h"
#include "platform/Machine.h"
#include "platform/Shortage.h"
#include "platform/WindowsApi.h"

#include <cstring>
#include <string>
#include <utility>

namespace Platform
{

namespace
{

constexpr DWORD ReadAccess = 1;
constexpr DWORD WriteAccess = 2;

struct OpenDevice
{
    std::unique_ptr<Device> device;
    DWORD access;
    std::string path;            ///< that it was opened by
    std::optional<DWORD> number; ///< of a disk that was opened by it, to be asked

    /// Keeps the answer for whoever explains the disk. A shortage is none.
    void Note(DiskQuestion question, DWORD error) const
    {
        if (IsShortage(error))
            return;
        if (number)
            NoteDiskAnswer(*number, question, error);
        else if (error != ERROR_SUCCESS)
            NoteSilentInterface(path, CurrentMachine().NumberOfInterface(path), question, error);
    }
};

HandleTable<const OpenDevice>& Devices()
{
    static Base::UntilUnload<HandleTable<const OpenDevice>> devices;
    return *devices;
}

/// A control code carries in bits 14 and 15 the access that its handle must have.
DWORD NeededAccess(DWORD code)
{
    return code >> 14 & (ReadAccess | WriteAccess);
}

/// Writes an answer of a fixed size, if the device gave one.
template <class Answer, class Ask>
DWORD Reply(PVOID output, DWORD outputSize, DWORD& written, Ask ask)
{
    if (output == nullptr || outputSize < sizeof(Answer))
        return ERROR_INSUFFICIENT_BUFFER;
    Answer answer = {};
    const DWORD error = ask(answer);
    if (error != ERROR_SUCCESS)
        return error;
    std::memcpy(output, &answer, sizeof(Answer));
    written = sizeof(Answer);
    return ERROR_SUCCESS;
}

DWORD ReplyDriveData(const OpenDevice& opened, PVOID input, DWORD inputSize, PVOID output,
                     DWORD outputSize, DWORD& written)
{
    DriveRequest request = {};
    DWORD error = DecodeDriveRequest(input, inputSize, output, outputSize, request);
    if (error != ERROR_SUCCESS)
        return error;
    Sector page; // filled, or not looked at
    Device& device = *opened.device;
    if (request == DriveRequest::Identify)
    {
        error = device.Identify(page);
        opened.Note(DiskQuestion::Identify, error);
    }
    else
    {
        error = device.SmartData(page);
        opened.Note(DiskQuestion::SmartData, error);
        if (error == ERROR_SUCCESS && opened.number)
            NoteSmartPage(*opened.number, page);
    }
    if (error != ERROR_SUCCESS)
        return error;
    EncodeDriveReply(page, output);
    written = ReplyBytes;
    return ERROR_SUCCESS;
}

DWORD Control(const OpenDevice& opened, DWORD code, PVOID input, DWORD inputSize, PVOID output,
              DWORD outputSize, DWORD& written)
{
    Device& device = *opened.device;
    switch (code)
    {
    case IOCTL_STORAGE_GET_DEVICE_NUMBER:
        return Reply<STORAGE_DEVICE_NUMBER>(output, outputSize, written,
                                            [&](STORAGE_DEVICE_NUMBER& answer)
                                            {
                                                answer.DeviceType = 7; // FILE_DEVICE_DISK
                                                DWORD number = 0;
                                                const DWORD error = device.DiskNumber(number);
                                                opened.Note(DiskQuestion::DiskNumber, error);
                                                answer.DeviceNumber = number;
                                                return error;
                                            });
    case IOCTL_DISK_GET_LENGTH_INFO:
        return Reply<GET_LENGTH_INFORMATION>(output, outputSize, written,
                                             [&](GET_LENGTH_INFORMATION& answer)
                                             {
                                                 std::uint64_t bytes = 0;
                                                 const DWORD error = device.Length(bytes);
                                                 if (error == ERROR_SUCCESS && opened.number)
                                                     NoteDiskLength(*opened.number, bytes);
                                                 answer.Length.QuadPart =
                                                     static_cast<LONGLONG>(bytes);
                                                 return error;
                                             });
    case SMART_GET_VERSION:
        return Reply<GETVERSIONINPARAMS>(output, outputSize, written,
                                         [&](GETVERSIONINPARAMS& answer)
                                         {
                                             answer.bVersion = 1;
                                             answer.bRevision = 1;
                                             answer.bIDEDeviceMap = 1;
                                             answer.fCapabilities = 5; // IDENTIFY and SMART
                                             const DWORD error = device.SmartVersion();
                                             opened.Note(DiskQuestion::SmartVersion, error);
                                             return error;
                                         });
    case SMART_RCV_DRIVE_DATA:
        return ReplyDriveData(opened, input, inputSize, output, outputSize, written);
    default:
        return ERROR_INVALID_FUNCTION;
    }
}

} // namespace

std::size_t OpenDeviceCount()
{
    return Devices().Count();
}

HANDLE CreateFileA(const CHAR* path, DWORD access, DWORD /*shareMode*/,
                   SECURITY_ATTRIBUTES* /*security*/, DWORD disposition, DWORD /*attributes*/,
                   HANDLE /*templateFile*/)
{
    const auto call = [&]() -> HANDLE
    {
        // Any other disposition could create or empty something.
        if (path == nullptr || disposition != OPEN_EXISTING)
            return FailCall(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
        auto opened = std::make_shared<OpenDevice>();
        opened->access = ((access & GENERIC_READ) != 0 ? ReadAccess : 0) |
                         ((access & GENERIC_WRITE) != 0 ? WriteAccess : 0);
        const bool isWritable = (access & GENERIC_WRITE) != 0;
        opened->path = path;
        if (DWORD number = 0; isWritable && DiskNumberOfPath(path, number))
            opened->number = number;
        const DWORD error = CurrentMachine().OpenDevice(path, isWritable, opened->device);
        opened->Note(DiskQuestion::Open, error);
        if (error != ERROR_SUCCESS)
            return FailCall(error, INVALID_HANDLE_VALUE);
        return Devices().Add(std::move(opened));
    };
    return RunCall<HANDLE>("CreateFileA", INVALID_HANDLE_VALUE, call);
}

BOOL DeviceIoControl(HANDLE handle, DWORD code, PVOID input, DWORD inputSize, PVOID output,
                     DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped)
{
    const auto call = [&]() -> BOOL
    {
        // Windows would fault on a missing count; overlapped handles are never opened here.
        if (returned == nullptr || overlapped != nullptr)
            return FailCall<BOOL>(ERROR_INVALID_PARAMETER, 0);
        *returned = 0;
        // Held over the call: another thread may close the handle meanwhile.
        const std::shared_ptr<const OpenDevice> opened = Devices().Find(handle);
        if (!opened)
            return FailCall<BOOL>(ERROR_INVALID_HANDLE, 0);
        if ((NeededAccess(code) & ~opened->access) != 0)
            return FailCall<BOOL>(ERROR_ACCESS_DENIED, 0);
        DWORD written = 0;
        const DWORD error = Control(*opened, code, input, inputSize, output, outputSize, written);
        if (error != ERROR_SUCCESS)
            return FailCall<BOOL>(error, 0);
        *returned = written;
        return 1;
    };
    return RunCall<BOOL>("DeviceIoControl", 0, call);
}

BOOL CloseHandle(HANDLE handle)
{
    const bool wasOpen = Devices().Remove(handle) != nullptr;
    return RunCall<BOOL>("CloseHandle", 0,
                         [&]() -> BOOL
                         { return wasOpen ? 1 : FailCall<BOOL>(ERROR_INVALID_HANDLE, 0); });
}

} // namespace Platform
