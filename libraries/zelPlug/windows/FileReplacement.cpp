#include "libraries/zelPlug/FileReplacement.h"

#include "libraries/PrivateFile.h"

#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <system_error>
#include <vector>

#include <windows.h>

namespace PI::Internals
{
namespace
{

class OpenFile
{
  public:
    OpenFile(const boost::filesystem::path& path, DWORD access, DWORD disposition,
             DWORD attributes = FILE_ATTRIBUTE_NORMAL, SECURITY_ATTRIBUTES* security = nullptr)
        : m_File(CreateFileW(path.c_str(), access,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, security,
                             disposition, attributes, nullptr))
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

Unreadable WhyNot(DWORD error, std::string& reason)
{
    reason = std::system_category().message(static_cast<int>(error));
    return error == ERROR_ACCESS_DENIED ? Unreadable::Forbidden : Unreadable::Failure;
}

bool ReadAll(HANDLE file, std::size_t limit, FileContent& content)
{
    LARGE_INTEGER size = {};
    if (GetFileSizeEx(file, &size) == 0)
    {
        content.why = WhyNot(GetLastError(), content.reason);
        return false;
    }
    if (static_cast<std::uint64_t>(size.QuadPart) > limit)
    {
        content.why = Unreadable::TooLong;
        return false;
    }
    content.text.resize(static_cast<std::size_t>(size.QuadPart));
    std::size_t position = 0;
    DWORD count = 0;
    do
    {
        if (ReadFile(file, content.text.data() + position,
                     static_cast<DWORD>(content.text.size() - position), &count, nullptr) == 0)
        {
            content.why = WhyNot(GetLastError(), content.reason);
            return false;
        }
        position += count;
    } while (count != 0 && position < content.text.size());
    content.text.resize(position);
    return true;
}

bool WriteAll(HANDLE file, const std::string& content)
{
    DWORD written = 0;
    return WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) !=
               0 &&
           written == content.size();
}

/// Who may do what with a file.
class Rights
{
  public:
    /// Those of a file; with none, or where files have no rights, those that new files get.
    explicit Rights(const boost::filesystem::path* path)
    {
        DWORD size = 0;
        if (path == nullptr)
            return;
        GetFileSecurityW(path->c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
        m_Descriptor.resize(size);
        if (GetFileSecurityW(path->c_str(), DACL_SECURITY_INFORMATION, m_Descriptor.data(), size,
                             &size) != 0)
            m_Attributes.lpSecurityDescriptor = m_Descriptor.data();
    }

    SECURITY_ATTRIBUTES* Get() { return &m_Attributes; }

  private:
    std::vector<unsigned char> m_Descriptor;
    SECURITY_ATTRIBUTES m_Attributes = {sizeof m_Attributes, nullptr, FALSE};
};

/// What a new file is made with; a read-only one is never replaced.
DWORD AttributesFrom(const std::optional<FileAttributes>& old)
{
    constexpr DWORD kept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                           FILE_ATTRIBUTE_ENCRYPTED;
    const DWORD attributes = old ? old->permissions & kept : 0;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

/// Puts a file in the place of another, or where there is none, in one step: ReplaceFile takes
/// several, and can leave no file there. Somebody who only looks at the old file, such as a virus
/// scanner, may hold it for a moment.
bool Replace(const boost::filesystem::path& from, const boost::filesystem::path& to)
{
    constexpr int attempts = 20;
    constexpr DWORD pause = 10;
    for (int attempt = 0; attempt < attempts; ++attempt)
    {
        if (MoveFileExW(from.c_str(), to.c_str(),
                        MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0)
            return true;
        Sleep(pause);
    }
    return false;
}

} // namespace

ReadResult ReadWhole(const boost::filesystem::path& path, Purpose purpose, std::size_t limit,
                     FileContent& content)
{
    const DWORD access = purpose == Purpose::Read ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    const OpenFile file(path, access, OPEN_EXISTING);
    if (!file.IsOpen())
    {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
            return ReadResult::Missing;
        content.why = WhyNot(error, content.reason);
        // A folder is not opened as a file, and the right to it is not what is missing.
        boost::system::error_code ignored;
        if (boost::filesystem::is_directory(path, ignored))
            content.why = Unreadable::NoFile;
        return ReadResult::Unreadable;
    }
    BY_HANDLE_FILE_INFORMATION facts = {};
    if (GetFileType(file.Get()) != FILE_TYPE_DISK)
    {
        content.why = Unreadable::NoFile;
        return ReadResult::Unreadable;
    }
    if (GetFileInformationByHandle(file.Get(), &facts) == 0)
    {
        content.why = WhyNot(GetLastError(), content.reason);
        return ReadResult::Unreadable;
    }
    if (!ReadAll(file.Get(), limit, content))
        return ReadResult::Unreadable;
    content.attributes.permissions = facts.dwFileAttributes;
    return ReadResult::Read;
}

bool PutInPlace(const boost::filesystem::path& path, const std::string& content,
                const std::optional<FileAttributes>& attributes)
{
    const boost::filesystem::path temporary = TemporaryBeside(path);
    if (temporary.empty() || PrivateFile::MakeFolders(FolderOf(path)))
        return false;
    Rights rights(attributes ? &path : nullptr);
    OpenFile file(temporary, GENERIC_WRITE, CREATE_NEW, AttributesFrom(attributes), rights.Get());
    if (!file.IsOpen())
        return false;
    const bool isWhole =
        WriteAll(file.Get(), content) && FlushFileBuffers(file.Get()) != 0 && file.Close();
    if (isWhole && Replace(temporary, path))
        return true;
    file.Close();
    // Where the old file is gone all the same, this one is all that there is of it.
    if (!isWhole || !attributes || GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES)
        DeleteFileW(temporary.c_str());
    return false;
}

} // namespace PI::Internals
