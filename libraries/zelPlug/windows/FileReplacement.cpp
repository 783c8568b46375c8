#include "libraries/zelPlug/FileReplacement.h"

#include <algorithm>

#include <windows.h>

namespace PI::Internals
{
namespace
{

class OpenFile
{
  public:
    OpenFile(const boost::filesystem::path& path, DWORD access, DWORD disposition)
        : m_File(CreateFileW(path.c_str(), access,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                             disposition, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
    }
    ~OpenFile() { Close(); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool IsOpen() const { return m_File != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_File; }

    bool Close()
    {
        const HANDLE file = m_File;
        m_File = INVALID_HANDLE_VALUE;
        return file == INVALID_HANDLE_VALUE || CloseHandle(file) != 0;
    }

  private:
    HANDLE m_File;
};

bool ReadAll(HANDLE file, std::size_t limit, std::string& content)
{
    LARGE_INTEGER size = {};
    if (GetFileSizeEx(file, &size) == 0 || static_cast<std::uint64_t>(size.QuadPart) > limit)
        return false;
    content.resize(static_cast<std::size_t>(size.QuadPart));
    std::size_t position = 0;
    DWORD count = 0;
    do
    {
        if (ReadFile(file, content.data() + position, static_cast<DWORD>(content.size() - position),
                     &count, nullptr) == 0)
            return false;
        position += count;
    } while (count != 0 && position < content.size());
    content.resize(position);
    return true;
}

bool WriteAll(HANDLE file, const std::string& content)
{
    DWORD written = 0;
    return WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) !=
               0 &&
           written == content.size();
}

/// Puts a file in the place of another, or where there is none. Somebody who only looks at the old
/// file, such as a virus scanner, may hold it for a moment.
bool Replace(const boost::filesystem::path& from, const boost::filesystem::path& to)
{
    constexpr int attempts = 20;
    constexpr DWORD pause = 10;
    for (int attempt = 0; attempt < attempts; ++attempt)
    {
        // ReplaceFile keeps the rights of the old file.
        if (ReplaceFileW(to.c_str(), from.c_str(), nullptr, 0, nullptr, nullptr) != 0)
            return true;
        if (GetLastError() == ERROR_FILE_NOT_FOUND &&
            MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH) != 0)
            return true;
        Sleep(pause);
    }
    return false;
}

} // namespace

ReadResult ReadWhole(const boost::filesystem::path& path, Purpose purpose, std::size_t limit,
                     std::string& content, FileAttributes& attributes)
{
    const DWORD access = purpose == Purpose::Read ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    const OpenFile file(path, access, OPEN_EXISTING);
    if (!file.IsOpen())
    {
        const DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND
                   ? ReadResult::Missing
                   : ReadResult::Unreadable;
    }
    BY_HANDLE_FILE_INFORMATION facts = {};
    if (GetFileType(file.Get()) != FILE_TYPE_DISK ||
        GetFileInformationByHandle(file.Get(), &facts) == 0 || !ReadAll(file.Get(), limit, content))
        return ReadResult::Unreadable;
    attributes.permissions = facts.dwFileAttributes;
    return ReadResult::Read;
}

bool PutInPlace(const boost::filesystem::path& path, const std::string& content,
                const std::optional<FileAttributes>& /*attributes*/)
{
    const boost::filesystem::path temporary = TemporaryBeside(path);
    if (temporary.empty())
        return false;
    OpenFile file(temporary, GENERIC_WRITE, CREATE_NEW);
    if (!file.IsOpen())
        return false;
    if (WriteAll(file.Get(), content) && FlushFileBuffers(file.Get()) != 0 && file.Close() &&
        Replace(temporary, path))
        return true;
    file.Close();
    DeleteFileW(temporary.c_str());
    return false;
}

} // namespace PI::Internals
