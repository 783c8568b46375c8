#include "contracts/zelKitEx/Disks.h"

#include "platform/DiskAnswers.h"

#include <algorithm>
#include <chrono>

namespace ZKTX
{
namespace
{

const char* WhatFailed(Platform::DiskQuestion question)
{
    switch (question)
    {
    case Platform::DiskQuestion::Open:
        return "it cannot be opened";
    case Platform::DiskQuestion::DiskNumber:
        return "it does not tell its number";
    case Platform::DiskQuestion::SmartVersion:
        return "it takes no SMART commands";
    default:
        return "it does not identify itself";
    }
}

std::string WhyNot(DWORD error)
{
    switch (error)
    {
    case ERROR_FILE_NOT_FOUND:
        return "not found";
    case ERROR_ACCESS_DENIED:
        return "a right is missing";
    case ERROR_NOT_READY:
        return "not ready";
    case ERROR_IO_DEVICE:
        return "I/O error";
    default:
        return "error " + std::to_string(error);
    }
}

CSystemDisk Told(const Platform::DiskAnswer& answer)
{
    using namespace std::chrono;
    CSystemDisk disk;
    disk.m_Number = answer.number;
    disk.m_Path = answer.interfacePath;
    if (answer.number)
        disk.m_Name = Platform::CurrentMachine().DiskName(*answer.number);
    if (answer.failed)
    {
        disk.m_Silence =
            std::string(WhatFailed(*answer.failed)) + " (" + WhyNot(answer.error) + ')';
        disk.m_MayBeWell = answer.error == ERROR_ACCESS_DENIED ||
                           (answer.failed == Platform::DiskQuestion::SmartVersion &&
                            answer.error == ERROR_INVALID_FUNCTION);
    }
    if (answer.smartPage)
    {
        disk.m_SmartPage.assign(answer.smartPage->begin(), answer.smartPage->end());
        const auto age = steady_clock::now() - answer.smartPageTime;
        disk.m_SmartPageAge = static_cast<std::uint64_t>(duration_cast<milliseconds>(age).count());
    }
    disk.m_HasSmartFailed = answer.smartError != ERROR_SUCCESS;
    disk.m_Bytes = answer.bytes;
    return disk;
}

} // namespace

void CSystemDisks::GetDisks(std::vector<CSystemDisk>& disks)
{
    disks.clear();
    Platform::ForEachDiskAnswer([&disks](const Platform::DiskAnswer& answer)
                                { disks.push_back(Told(answer)); });
}

} // namespace ZKTX
