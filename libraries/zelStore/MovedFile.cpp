#include "libraries/zelStore/MovedFile.h"

#include "libraries/zelStore/OpenDatabase.h"
#include "libraries/zelStore/OurDatabase.h"
#include "libraries/zelStore/SystemFiles.h"

#include <boost/filesystem/operations.hpp>

#include <array>
#include <string_view>

namespace DatabaseWrapper::Internals
{
namespace
{

constexpr const char* logEnding = "-wal";
constexpr const char* logIndexEnding = "-shm";

void Remove(const std::string& path)
{
    boost::system::error_code ignored;
    boost::filesystem::remove(path, ignored);
}

/// A file that is in the way when it has served, with what SQLite puts beside it.
class TemporaryFile
{
  public:
    explicit TemporaryFile(std::string path) : m_Path(std::move(path)) {}
    ~TemporaryFile()
    {
        Remove(m_Path);
        Remove(m_Path + "-journal");
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& Path() const { return m_Path; }

  private:
    std::string m_Path;
};

void CopyContents(sqlite3* source, const std::string& path)
{
    MakeFile(path);
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(
        path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX,
        nullptr);
    const DatabaseHandle target(opened);
    Check(opened, result);
    sqlite3_backup* backup = sqlite3_backup_init(opened, "main", source, "main");
    if (backup == nullptr)
        Fail(opened, sqlite3_errcode(opened));
    constexpr int allPages = -1;
    const int copied = sqlite3_backup_step(backup, allPages);
    const int finished = sqlite3_backup_finish(backup);
    if (copied != SQLITE_DONE)
        Fail(opened, finished == SQLITE_OK ? copied : finished);
}

} // namespace

FileIdentity LogOf(sqlite3* database)
{
    return IdentityOf(sqlite3_db_filename(database, "main") + std::string(logEnding));
}

bool HasMoved(sqlite3* database)
{
    int moved = 0;
    return sqlite3_file_control(database, "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK &&
           moved != 0;
}

bool WasOverwritten(sqlite3* database)
{
    constexpr std::string_view magic("SQLite format 3", 16);
    constexpr std::size_t applicationIdAt = 68; // four bytes, the highest first
    // Through SQLite's own descriptor: closing another one of the file would lose its locks.
    sqlite3_file* file = nullptr;
    if (sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK ||
        file == nullptr || file->pMethods == nullptr)
        return false;
    std::array<char, 100> head{};
    if (file->pMethods->xRead(file, head.data(), static_cast<int>(head.size()), 0) != SQLITE_OK)
        return true;
    std::uint32_t application = 0;
    for (std::size_t i = 0; i < sizeof application; ++i)
        application = application << 8 | static_cast<unsigned char>(head[applicationIdAt + i]);
    return !std::string_view(head.data(), head.size()).starts_with(magic) ||
           application != applicationId;
}

FileIdentity LeaveOverwrittenFile(sqlite3* database, const FileIdentity& log)
{
    sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    RemoveLog(sqlite3_db_filename(database, "main"), log);
    return LogOf(database) == log ? log : FileIdentity();
}

void RemoveLog(const std::string& path, const FileIdentity& log)
{
    if (!log || IdentityOf(path + logEnding) != log)
        return;
    Remove(path + logEnding);
    Remove(path + logIndexEnding);
}

void LeaveMovedFile(sqlite3* database, const FileIdentity& log)
{
    const std::string path = sqlite3_db_filename(database, "main");
    boost::system::error_code error;
    const auto status = boost::filesystem::symlink_status(path, error);
    if (status.type() == boost::filesystem::status_error)
        throw Failure{SQLITE_CANTOPEN, error.message()};
    std::optional<TemporaryFile> copy;
    if (!boost::filesystem::exists(status))
    {
        MakeFolderOf(path);
        error.clear();
        const auto name = boost::filesystem::unique_path(path + "-%%%%-%%%%-%%%%-%%%%", error);
        if (error)
            throw Failure{SQLITE_CANTOPEN, error.message()};
        CopyContents(database, copy.emplace(name.string()).Path());
    }

    if (sqlite3_db_readonly(database, "main") == 0)
    {
        // For whoever moved the old file away to keep it: make it whole.
        sqlite3_wal_checkpoint_v2(database, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
        // Other processes still have the old file open. One of them takes its log away, the others
        // must not mistake the new file's log for it.
        const Transaction alone(database, "BEGIN IMMEDIATE");
        RemoveLog(path, log);
    }

    if (!copy)
        return;
    error.clear();
    boost::filesystem::create_hard_link(copy->Path(), path, error);
    // Not every file system has links. Then the look and the step are two, a moment apart.
    if (error && error != boost::system::errc::file_exists && !boost::filesystem::exists(path))
        boost::filesystem::rename(copy->Path(), path, error);
    if (error && error != boost::system::errc::file_exists)
        throw Failure{SQLITE_CANTOPEN, "cannot put the removed file back: " + error.message()};
}

} // namespace DatabaseWrapper::Internals
