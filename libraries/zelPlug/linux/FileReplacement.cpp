#include "libraries/zelPlug/FileReplacement.h"

#include "libraries/PrivateFile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace PI::Internals
{
namespace
{

class FileDescriptor
{
  public:
    FileDescriptor(const boost::filesystem::path& path, int flags)
        : m_File(PrivateFile::Open(path, flags))
    {
    }
    ~FileDescriptor() { Close(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    bool IsOpen() const { return m_File >= 0; }
    int Get() const { return m_File; }

    bool Close()
    {
        const int file = m_File;
        m_File = -1;
        return file < 0 || close(file) == 0;
    }

  private:
    int m_File;
};

Unreadable WhyNot(int error, std::string& reason)
{
    reason = std::generic_category().message(error);
    if (error == ELOOP)
        return Unreadable::Link;
    return error == EACCES || error == EPERM ? Unreadable::Forbidden : Unreadable::Failure;
}

bool ReadAll(int file, std::size_t limit, FileContent& content)
{
    content.text.clear();
    std::array<char, 65536> block;
    for (;;)
    {
        const ssize_t size = read(file, block.data(), block.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            content.why = WhyNot(errno, content.reason);
        if (size <= 0)
            return size == 0;
        if (content.text.size() + static_cast<std::size_t>(size) > limit)
        {
            content.why = Unreadable::TooLong;
            return false;
        }
        content.text.append(block.data(), static_cast<std::size_t>(size));
    }
}

bool WriteAll(int file, std::string_view content)
{
    while (!content.empty())
    {
        const ssize_t written = write(file, content.data(), content.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// Removes a file that has not reached its place.
class Remains
{
  public:
    explicit Remains(const boost::filesystem::path& path) : m_Path(path) {}
    ~Remains()
    {
        if (m_Armed)
            unlink(m_Path.c_str());
    }
    Remains(const Remains&) = delete;
    Remains& operator=(const Remains&) = delete;

    void Disarm() { m_Armed = false; }

  private:
    const boost::filesystem::path& m_Path;
    bool m_Armed = true;
};

bool TakeOver(int file, const FileAttributes& attributes)
{
    struct stat status = {};
    if (fstat(file, &status) != 0)
        return false;
    // Only root can give a file away; for others it stays the writer's own. The owner comes first,
    // because a change of owner clears bits of the mode.
    if ((status.st_uid != attributes.owner || status.st_gid != attributes.group) &&
        fchown(file, attributes.owner, attributes.group) != 0 && geteuid() == 0)
        return false;
    return fchmod(file, attributes.permissions) == 0;
}

} // namespace

ReadResult ReadWhole(const boost::filesystem::path& path, Purpose purpose, std::size_t limit,
                     FileContent& content)
{
    const int access = purpose == Purpose::Read ? O_RDONLY : O_RDWR;
    FileDescriptor file(path, access | O_NONBLOCK);
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0)
    {
        if (errno == ENOENT)
            return ReadResult::Missing;
        content.why = WhyNot(errno, content.reason);
        return ReadResult::Unreadable;
    }
    if (!S_ISREG(status.st_mode))
    {
        content.why = Unreadable::NoFile;
        return ReadResult::Unreadable;
    }
    if (!ReadAll(file.Get(), limit, content))
        return ReadResult::Unreadable;
    content.attributes = {status.st_mode & 07777, status.st_uid, status.st_gid};
    return ReadResult::Read;
}

bool PutInPlace(const boost::filesystem::path& path, const std::string& content,
                const std::optional<FileAttributes>& attributes)
{
    const boost::filesystem::path temporary = TemporaryBeside(path);
    if (temporary.empty() || PrivateFile::MakeFolders(FolderOf(path)) ||
        PrivateFile::MakeFile(temporary))
        return false;
    Remains remains(temporary);
    FileDescriptor file(temporary, O_WRONLY);
    if (!file.IsOpen() || (attributes && !TakeOver(file.Get(), *attributes)) ||
        !WriteAll(file.Get(), content) || fsync(file.Get()) != 0 || !file.Close() ||
        std::rename(temporary.c_str(), path.c_str()) != 0)
        return false;
    remains.Disarm();

    // The new file is in its place. That it also stays there when the power goes now is all that a
    // failure here takes away.
    FileDescriptor folderFile(FolderOf(path), O_RDONLY | O_DIRECTORY);
    if (folderFile.IsOpen())
        fsync(folderFile.Get());
    return true;
}

} // namespace PI::Internals
