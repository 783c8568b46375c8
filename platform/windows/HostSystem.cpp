#include "platform/HostSystem.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>

namespace Platform
{

CancellationPause::CancellationPause() = default;
CancellationPause::~CancellationPause() = default;

void CancellationPoint() {}

FileStamp StampOf(const std::string& path)
{
    std::error_code error;
    FileStamp stamp;
    const auto time = std::filesystem::last_write_time(path, error);
    if (error)
        return stamp;
    stamp.changed = time.time_since_epoch().count();
    stamp.size = std::filesystem::file_size(path, error);
    stamp.inode = 1;
    return stamp;
}

std::string ReadWholeFile(WatchedFile& file, std::size_t limit, std::string& content)
{
    const std::string& path = file.path;
    file.stamp = StampOf(path);
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return "is missing or not a regular file";
    if (file.stamp.size > limit)
        return TooLarge(limit);
    content.assign(static_cast<std::size_t>(file.stamp.size), '\0');
    std::ifstream stream(path, std::ios::binary);
    stream.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(stream.gcount()));
    return stream.bad() ? "cannot be read" : "";
}

void SleepFor(std::uint32_t milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace Platform
