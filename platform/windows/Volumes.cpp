#include "platform/windows/Volumes.h"

#include "contracts/zelKit/windows/SystemCall.h"
#include "contracts/zelKit/windows/WideText.h"
#include "platform/windows/SystemCall.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace Platform
{

namespace
{

/// Names such as "\\?\Volume{...}\".
std::vector<std::wstring> VolumeNames()
{
    struct Search
    {
        HANDLE handle;
        ~Search()
        {
            if (handle != INVALID_HANDLE_VALUE)
                ::FindVolumeClose(handle);
        }
    };
    std::vector<std::wstring> names;
    wchar_t name[MAX_PATH] = {};
    const Search search{::FindFirstVolumeW(name, std::size(name))};
    if (search.handle == INVALID_HANDLE_VALUE)
        return names;
    do
        names.emplace_back(name);
    while (::FindNextVolumeW(search.handle, name, std::size(name)) != 0);
    return names;
}

static_assert(offsetof(VOLUME_DISK_EXTENTS, Extents) == 8);
static_assert(sizeof(DISK_EXTENT) == 24);
static_assert(IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS == 0x00560000);

std::vector<VolumeExtent> ReadExtents(const std::wstring& name)
{
    std::vector<VolumeExtent> extents;
    // With the last backslash it would be the root folder that is opened.
    SystemHandle volume;
    if (OpenSystemFile(ZKT::Misc::FromWide(name.substr(0, name.size() - 1)), 0, volume) !=
        ERROR_SUCCESS)
        return extents;
    constexpr std::size_t First = offsetof(VOLUME_DISK_EXTENTS, Extents);
    std::vector<BYTE> answer;
    if (AskDevice(volume, IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS, answer) != ERROR_SUCCESS ||
        answer.size() < First)
        return extents;
    DWORD count = 0;
    std::memcpy(&count, answer.data(), sizeof count);
    for (std::size_t at = First; count-- > 0 && at + sizeof(DISK_EXTENT) <= answer.size();
         at += sizeof(DISK_EXTENT))
    {
        DISK_EXTENT extent = {};
        std::memcpy(&extent, answer.data() + at, sizeof extent);
        extents.push_back(
            {extent.DiskNumber, static_cast<std::uint64_t>(extent.StartingOffset.QuadPart)});
    }
    return extents;
}

std::string FirstMountPoint(const std::wstring& name)
{
    std::wstring paths(MAX_PATH, L'\0');
    DWORD needed = 0;
    while (::GetVolumePathNamesForVolumeNameW(name.c_str(), paths.data(),
                                              static_cast<DWORD>(paths.size()), &needed) == 0)
    {
        if (::GetLastError() != ERROR_MORE_DATA || needed <= paths.size())
            return {};
        paths.resize(needed);
    }
    return ZKT::Misc::FromWide(paths.c_str());
}

void ReadContent(const std::wstring& name, Volume& volume)
{
    wchar_t label[MAX_PATH + 1] = {};
    wchar_t fileSystem[MAX_PATH + 1] = {};
    DWORD flags = 0;
    {
        const NoErrorBoxes quiet;
        const ZKT::Threading::CInterruptibleCall interruptible;
        if (::GetVolumeInformationW(name.c_str(), label, std::size(label), nullptr, nullptr, &flags,
                                    fileSystem, std::size(fileSystem)) == 0)
            return;
    }
    volume.label = ZKT::Misc::FromWide(label);
    volume.fileSystem = ZKT::Misc::FromWide(fileSystem);
    volume.isReadOnly = (flags & FILE_READ_ONLY_VOLUME) != 0;
}

} // namespace

std::vector<Volume> VolumesOn(DWORD diskNumber)
{
    std::vector<Volume> volumes;
    for (const std::wstring& name : VolumeNames())
    {
        Volume volume;
        volume.extents = ReadExtents(name);
        if (std::none_of(volume.extents.begin(), volume.extents.end(),
                         [&](const VolumeExtent& extent)
                         { return extent.diskNumber == diskNumber; }))
            continue;
        volume.mountPoint = FirstMountPoint(name);
        ReadContent(name, volume);
        volumes.push_back(std::move(volume));
    }
    return volumes;
}

} // namespace Platform
