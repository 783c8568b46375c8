#include "platform/linux/SystemState.h"

#include "platform/linux/AtaPassThrough.h"

#include <cerrno>

namespace Platform
{

int SystemState::GenericDeviceOf(const KernelDisk& disk)
{
    const GenericDevice& generic = disk.generic;
    if (generic.name.empty())
        return -1;
    std::call_once(generic.isTried,
                   [&]
                   {
                       FileDescriptor file;
                       const std::string path = folders.dev + "/bsg/" + generic.name;
                       if (port->OpenGeneric(path, generic.device, file) == 0)
                           generic.file = std::move(file);
                   });
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
        rights.Note(disk.whole.name, Right::DeviceFile);
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
