#include "libraries/zelStore/OpenDatabase.h"

#include "libraries/zelStore/Location.h"
#include "libraries/zelStore/OurDatabase.h"

#include <boost/filesystem/operations.hpp>

namespace DatabaseWrapper::Internals
{
namespace
{

constexpr int writing = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
constexpr int frozen = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;

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
    // The first look after the switch opens the log.
    ReadNumber(database, "PRAGMA schema_version");
}

std::string FrozenName(const std::string& path)
{
    constexpr const char* digits = "0123456789ABCDEF";
    std::string name = "file:";
    for (const char letter : path)
        if (letter == '%' || letter == '?' || letter == '#')
            name.append({'%', digits[letter >> 4], digits[letter & 15]});
        else
            name += letter;
    return name + "?immutable=1";
}

} // namespace

void MakeFolderOf(const std::string& path)
{
    const boost::filesystem::path folder = boost::filesystem::path(path).parent_path();
    boost::system::error_code error;
    boost::filesystem::create_directories(folder, error);
    if (error)
        throw Failure{SQLITE_CANTOPEN,
                      "cannot make the folder " + folder.string() + ": " + error.message()};
}

DatabaseHandle OpenDatabase(const std::string& path, const std::vector<Definition>& definitions,
                            int milliseconds)
{
    boost::system::error_code error;
    if (path != inMemory)
    {
        MakeFolderOf(path);
        const auto status = boost::filesystem::status(path, error);
        if (boost::filesystem::exists(status) && !boost::filesystem::is_regular_file(status))
            throw Failure{SQLITE_CANTOPEN, "not a regular file"};
    }
    DatabaseHandle database = OpenFile(path, writing);
    // To read, SQLite needs to make a log. One in use is read as it is, and keeps rows that the
    // file does not have yet.
    if (sqlite3_db_readonly(database.get(), "main") == 1 &&
        !boost::filesystem::exists(path + "-wal", error) &&
        !boost::filesystem::exists(path + "-journal", error))
        database = OpenFile(FrozenName(path), frozen);
    SetUp(database.get(), definitions, milliseconds);
    return database;
}

} // namespace DatabaseWrapper::Internals
