#include "platform/HostSystem.h"

#include "contracts/zelKit/windows/WideText.h"
#include "platform/Shortage.h"
#include "platform/windows/SystemHandle.h"

#include <algorithm>
#include <system_error>

namespace Platform
{

namespace
{

constexpr std::int64_t TicksUntil1970 = 116'444'736'000'000'000;
constexpr std::int64_t NanosecondsPerTick = 100;

std::int64_t Nanoseconds(const FILETIME& time)
{
    const std::int64_t ticks = std::int64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    return (ticks - TicksUntil1970) * NanosecondsPerTick;
}

FileStamp MakeStamp(const BY_HANDLE_FILE_INFORMATION& facts)
{
    return {facts.dwVolumeSerialNumber,
            std::uint64_t{facts.nFileIndexHigh} << 32 | facts.nFileIndexLow,
            std::uint64_t{facts.nFileSizeHigh} << 32 | facts.nFileSizeLow,
            Nanoseconds(facts.ftLastWriteTime)};
}

bool IsFresh(const FileStamp& stamp)
{
    constexpr std::int64_t ClockStep = 50'000'000;
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    const std::int64_t age = Nanoseconds(now) - stamp.changed;
    return age > -ClockStep && age < ClockStep;
}

/// In the words that other systems have, too.
std::string Reason(DWORD error)
{
    return std::error_code(static_cast<int>(error), std::system_category())
        .default_error_condition()
        .message();
}

SystemHandle Open(const std::string& path, DWORD access)
{
    // With this flag folders open, too.
    return SystemHandle(::CreateFileW(ZKT::Misc::ToWide(path).c_str(), access,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

} // namespace

const char* const FolderSeparators = "/\\";

std::size_t DriveSize(const std::string& path)
{
    return path.find(':') == 1 ? 2 : 0;
}

FileStamp StampOf(const std::string& path)
{
    const SystemHandle file = Open(path, FILE_READ_ATTRIBUTES);
    BY_HANDLE_FILE_INFORMATION facts = {};
    return file.IsOpen() && ::GetFileInformationByHandle(file.Get(), &facts) != 0 ? MakeStamp(facts)
                                                                                  : FileStamp{};
}

std::string ReadWholeFile(WatchedFile& file, std::size_t limit, std::string& content)
{
    // Of a file that cannot be opened, too: it is not read again until it changes.
    file.stamp = StampOf(file.path);
    const SystemHandle opened = Open(file.path, GENERIC_READ);
    if (!opened.IsOpen())
        ThrowShortage(::GetLastError());
    if (!opened.IsOpen())
        return "cannot be opened (" + Reason(::GetLastError()) + ")";
    if (::GetFileType(opened.Get()) != FILE_TYPE_DISK)
        return "is not a regular file";
    BY_HANDLE_FILE_INFORMATION facts = {};
    if (::GetFileInformationByHandle(opened.Get(), &facts) == 0)
        return "cannot be read (" + Reason(::GetLastError()) + ")";
    if ((facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return "is a directory";
    file.stamp = MakeStamp(facts);
    file.isFresh = IsFresh(file.stamp);

    content.clear();
    if (file.stamp.size <= limit)
        content.reserve(static_cast<std::size_t>(file.stamp.size));
    std::string block(std::min<std::size_t>(limit, 1 << 16) + 1, '\0');
    for (;;)
    {
        DWORD count = 0;
        if (::ReadFile(opened.Get(), block.data(), static_cast<DWORD>(block.size()), &count,
                       nullptr) == 0)
            return "cannot be read (" + Reason(::GetLastError()) + ")";
        if (count == 0)
            return "";
        content.append(block, 0, count);
        if (content.size() > limit)
            return TooLarge(limit);
    }
}

} // namespace Platform
