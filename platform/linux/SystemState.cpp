#include "platform/linux/SystemState.h"

#include "platform/linux/AtaPassThrough.h"

#include <cerrno>
#include <utility>

namespace Platform
{

int SystemState::GenericDeviceOf(const KernelDisk& disk)
{
    const GenericDevice& generic = disk.generic;
    if (generic.name.empty())
        return -1;
    if (generic.isSettled)
        return generic.file.Get();
    const std::lock_guard guard(generic.lock);
    if (!generic.isSettled)
    {
        FileDescriptor file;
        const int error =
            port->OpenGeneric(folders.dev + "/bsg/" + generic.name, generic.device, file);
        if (error == 0)
            generic.file = std::move(file);
        // All else may pass: a device file may come later than its disk.
        generic.isSettled = error == 0 || error == EACCES || error == EPERM;
    }
    return generic.file.Get();
}

DWORD SystemState::OpenFile(const KernelDisk& disk, FileDescriptor& file)
{
    const std::string path = folders.dev + "/" + disk.whole.name;
    const int error = port->Open(path, {disk.whole.device, disk.sequence}, file);
    if (error == EACCES)
        rights.Note(disk.whole.name, Right::ReadAccess);
    else if (error == EPERM)
        rights.Note(disk.whole.name, Right::DeviceRule);
    else if (error == ENOENT && ReadAttribute(disk.folder + "/dev"))
    {
        rights.Note(disk.whole.name, Right::DeviceFile);
        return ERROR_ACCESS_DENIED;
    }
    if (error == ENOENT)
        return ERROR_FILE_NOT_FOUND;
    return error == 0 ? static_cast<DWORD>(ERROR_SUCCESS) : ErrorOfCall(error);
}

DWORD SystemState::NoteAnswer(const KernelDisk& disk, DWORD error)
{
    if (error == ERROR_ACCESS_DENIED)
        rights.Note(disk.whole.name, Right::RawIo);
    else
        rights.Clear(disk.whole.name);
    return error;
}

} // namespace Platform
