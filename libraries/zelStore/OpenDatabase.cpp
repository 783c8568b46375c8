#include "libraries/zelStore/OpenDatabase.h"

#include "libraries/PrivateFile.h"
#include "libraries/zelStore/Location.h"
#include "libraries/zelStore/MovedFile.h"
#include "libraries/zelStore/OurDatabase.h"

#include <boost/filesystem/operations.hpp>

#include <cstdint>

namespace DatabaseWrapper::Internals
{
namespace
{

using boost::filesystem::path;
using boost::system::error_code;

constexpr int writing = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW;
constexpr int reading = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
constexpr const char* frozen = "immutable=1";        ///< nothing beside the file counts
constexpr const char* withItsLog = "readonly_shm=1"; ///< nor is anything put there

DatabaseHandle OpenFile(const std::string& name, int flags)
{
    sqlite3* database = nullptr;
    const int result =
        sqlite3_open_v2(name.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    DatabaseHandle owner(database);
    Check(database, result);
    return owner;
}

void SwitchOption(sqlite3* database, int option, int value)
{
    Check(database, sqlite3_db_config(database, option, value, nullptr));
}

/// Writes the log back in time, after each change: every thousand pages, and on a nearly full disk
/// while the file still has room to grow by what is in the log.
int KeepLogSmall(void*, sqlite3* database, const char*, int pages)
{
    constexpr int mostPages = 1000;
    constexpr int fewPages = 16;
    constexpr std::uintmax_t pageSize = 4096;
    if (pages < mostPages)
    {
        if (pages < fewPages)
            return SQLITE_OK;
        error_code error;
        const auto space = boost::filesystem::space(sqlite3_db_filename(database, "main"), error);
        if (error || space.available >= 2 * pageSize * static_cast<std::uintmax_t>(pages))
            return SQLITE_OK;
    }
    sqlite3_wal_checkpoint_v2(database, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    return SQLITE_OK; // the change was made
}

void SetUp(sqlite3* database, const std::vector<Definition>& definitions, int milliseconds)
{
    sqlite3_busy_timeout(database, milliseconds);
    // Until the file is known to be ours, not even its own log is written back to it.
    SwitchOption(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1);
    SwitchOption(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0);
    SwitchOption(database, SQLITE_DBCONFIG_ENABLE_FKEY, 1);
    AdoptDatabase(database, definitions);
    SwitchOption(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0);
    // Where the file's place or another process stands against a log, the journal that it has will
    // do.
    sqlite3_exec(database, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    Execute(database, "PRAGMA synchronous = NORMAL");
    sqlite3_wal_hook(database, KeepLogSmall, nullptr);
    // The first look after the switch opens the log.
    ReadNumber(database, "PRAGMA schema_version");
}

/// A file that somebody made with a log has what makes it ours in the log alone. By what the file
/// itself says, it is told from one that was overwritten.
void WriteBackMarks(sqlite3* database)
{
    if (WasOverwritten(database) && sqlite3_db_readonly(database, "main") == 0)
        Check(database, sqlite3_wal_checkpoint_v2(database, nullptr, SQLITE_CHECKPOINT_FULL,
                                                  nullptr, nullptr));
}

std::string UriOf(const std::string& path, const char* option)
{
    constexpr const char* digits = "0123456789ABCDEF";
    std::string name = "file:";
    for (const char letter : path)
        if (letter == '%' || letter == '?' || letter == '#')
            name.append({'%', digits[letter >> 4], digits[letter & 15]});
        else
            name += letter;
    return name + "?" + option;
}

bool HoldsAnything(const std::string& path)
{
    error_code error;
    const auto size = boost::filesystem::file_size(path, error);
    return !error && size > 0;
}

/// Where a file stands or will stand, without links.
std::string Resolved(const std::string& name)
{
    path place = name;
    if (!PrivateFile::ResolveLinks(place))
        throw Failure{SQLITE_NOTADB, place.string() +
                                         ": a link that others may have put there is not followed" +
                                         remedy};
    error_code error;
    const auto status = boost::filesystem::status(place, error);
    if (boost::filesystem::exists(status) && !boost::filesystem::is_regular_file(status))
        throw Failure{SQLITE_CANTOPEN, "not a regular file"};
    return place.string();
}

/// Refuses a file that is not ours in a way that touches nothing: to open it for writing would put
/// a log beside it, or carry out its own.
void LookWithoutTouching(const std::string& path, const std::vector<Definition>& definitions,
                         int milliseconds)
{
    if (!HoldsAnything(path))
        return;
    error_code error;
    const bool hasLog = HoldsAnything(path + "-wal");
    const bool isReadWithLog = hasLog && boost::filesystem::exists(path + "-shm", error);
    const DatabaseHandle database =
        OpenFile(UriOf(path, isReadWithLog ? withItsLog : frozen), reading);
    sqlite3_busy_timeout(database.get(), milliseconds);
    SwitchOption(database.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1);
    SwitchOption(database.get(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0);
    const bool hasUnfinished = HoldsAnything(path + "-journal") || (hasLog && !isReadWithLog);
    CheckDatabase(database.get(), definitions, hasUnfinished);
}

} // namespace

void MakeFolderOf(const std::string& place)
{
    const path folder = path(place).parent_path();
    if (const error_code error = PrivateFile::MakeFolders(folder))
        throw Failure{SQLITE_CANTOPEN,
                      "cannot make the folder " + folder.string() + ": " + error.message()};
}

void MakeFile(const std::string& place)
{
    const error_code error = PrivateFile::MakeFile(place);
    if (error && error != boost::system::errc::file_exists)
        throw Failure{error == boost::system::errc::no_space_on_device ? SQLITE_FULL
                                                                       : SQLITE_CANTOPEN,
                      "cannot make the file: " + error.message()};
}

DatabaseHandle OpenDatabase(const std::string& path, const std::vector<Definition>& definitions,
                            int milliseconds)
{
    if (path == inMemory)
    {
        DatabaseHandle database = OpenFile(path, SQLITE_OPEN_READWRITE);
        SetUp(database.get(), definitions, milliseconds);
        return database;
    }
    const std::string place = Resolved(path);
    error_code error;
    if (!boost::filesystem::exists(place, error))
    {
        MakeFolderOf(place);
        MakeFile(place);
    }
    LookWithoutTouching(place, definitions, milliseconds);
    DatabaseHandle database = OpenFile(place, writing);
    // To read, SQLite needs to make a log. One in use is read as it is, and keeps rows that the
    // file does not have yet.
    if (sqlite3_db_readonly(database.get(), "main") == 1 &&
        !boost::filesystem::exists(place + "-wal", error) &&
        !boost::filesystem::exists(place + "-journal", error))
        database = OpenFile(UriOf(place, frozen), reading);
    SetUp(database.get(), definitions, milliseconds);
    WriteBackMarks(database.get());
    return database;
}

} // namespace DatabaseWrapper::Internals
