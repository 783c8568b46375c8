#include "database/Storage.h"
#include "tests/support/TestFolder.h"

#include <boost/algorithm/string/replace.hpp>

#include <chrono>
#include <fstream>
#include <functional>
#include <map>
#include <numeric>
#include <regex>
#include <sqlite3.h>
#include <thread>
#include <tuple>

#if !defined(_WIN32)
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{

namespace files = std::filesystem;
using namespace std::string_literals;
using Cells = std::vector<std::string>;
using Milliseconds = std::chrono::milliseconds;

/// A storage object on a file.
class Store
{
  public:
    Store() : m_Storage(DatabaseORM::getDatabasePointer()) {}
    explicit Store(const std::string& path)
    {
        setenv("TARNIS_DATABASE", path.c_str(), 1);
        m_Storage = DatabaseORM::getDatabasePointer();
    }
    Cells operator()(std::string text) const { return m_Storage->dao->query(std::move(text)); }
    /// What a refused statement is told; empty when it was not refused.
    std::string Refusal(const std::string& text) const
    {
        try
        {
            (*this)(text);
            return {};
        }
        catch (const DBEXCEPTION::DatabaseException& refusal)
        {
            return refusal.what();
        }
    }
    void Add(const std::string& name) const
    {
        (*this)("INSERT INTO raid_plugin (plg_pluginName) VALUES(\"" + name + "\");");
    }
    Cells Names() const { return (*this)("SELECT plugin FROM plugins ORDER BY 1"); }

  private:
    std::shared_ptr<DatabaseORM::storage_t> m_Storage;
};

/// What a host is told of rows that are not written; empty when they are.
std::string RowTrouble()
{
    std::string message = "before";
    const bool areRefused = DatabaseWrapper::AreRowsRefused(message);
    EXPECT_EQ(areRefused, !message.empty());
    return message;
}

/// Another program's connection. What it wrote stays in the log.
struct Outsider
{
    explicit Outsider(const std::string& path)
    {
        sqlite3_open(path.c_str(), &database);
        sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    }
    ~Outsider() { sqlite3_close(database); }
    Outsider(const Outsider&) = delete;
    Outsider& operator=(const Outsider&) = delete;
    void Do(const std::string& text, Milliseconds wait = {}) const
    {
        std::this_thread::sleep_for(wait);
        EXPECT_EQ(sqlite3_exec(database, text.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << text << ": " << sqlite3_errmsg(database);
    }
    sqlite3* database = nullptr;
};

class File : public testing::Test
{
  protected:
    const std::string m_Name =
        files::path::preferred_separator == '/' ? "100%41 ?#.db" : "100%41 #.db";
    const TestFolder m_Folder;
    const std::string m_Path = m_Folder.File(m_Name);

    /// Of all files of the folder.
    std::map<std::string, std::string> Contents() const
    {
        std::map<std::string, std::string> contents;
        for (const auto& file : files::directory_iterator(m_Folder.Path()))
            contents[file.path().filename().string()] =
                m_Folder.Read(file.path().filename().string());
        return contents;
    }
};

TEST(Statements, ReadValuesInEveryForm)
{
    const std::pair<const char*, Cells> cases[] = {
        {"SELECT 1, (-5), 3-1, 3 -1, - 2, 1=-1", {"1", "-5", "2", "2", "-2", "0"}},
        {"SELECT 1e3, .5, 2., (-1.25E-2), (+7), 0x10", {"1000", "0.5", "2", "-0.0125", "7", "16"}},
        {"SELECT 0.1, 1e300, 123456789.123456", {"0.1", "1e+300", "123456789.123456"}},
        {"SELECT ?, (NULL), null IS NULL, 1 NOT NULL", {"NULL", "NULL", "1", "1"}},
        {"SELECT x'4142', X'43'", {"AB", "C"}},
        {"SELECT/* 1 ; ' */2--3\n,4 -- ;'", {"2", "4"}},
        {"select 'a' as `b;'`, \"c\" as [d;\"];", {"a", "c"}},
        {"WITH t1(a1) AS (VALUES(2),(1)) SELECT a1 FROM t1 ORDER BY 1", {"1", "2"}},
        {"SELECT count(*), 5 FROM (SELECT 1 a UNION ALL SELECT 1) GROUP BY a", {"2", "5"}},
        {"; PRAGMA user_version; pragma page_size;VALUES(9,\"x\");;", {"1", "4096", "9", "x"}},
        {" ; -- nothing", {}},
    };
    const Store store(":memory:");
    for (const auto& [text, cells] : cases)
        EXPECT_EQ(store(text), cells) << text;

    std::string bytes(256, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    for (const std::string& text : {bytes, "x'; DROP TABLE t; --"s, std::string(100000, '"') + "e"})
        for (const std::string quote : {"\"", "'"})
        {
            const auto doubled = boost::algorithm::replace_all_copy(text, quote, quote + quote);
            EXPECT_EQ(store("SELECT " + quote + doubled + quote), Cells{text});
        }
    store.Add("n");
    for (const char* number : {"0", "9223372036854775807", "-9223372036854775808",
                               "9223372036854775808", "-9223372036854775809"})
    {
        store("UPDATE raid_plugin SET plg_objectId="s + number + " WHERE ID = 1;");
        EXPECT_EQ(store("SELECT object_id FROM plugins"), Cells{number});
    }
}

TEST(Statements, ASecondOneIsRefusedBeforeAnythingIsDone)
{
    const std::string texts[] = {
        "DELETE FROM raid_plugin WHERE ID = 'x' OR 1; DROP TABLE raid_pd; --'",
        "DELETE FROM raid_plugin; PRAGMA user_version = 9",
        "PRAGMA user_version = 9; CREATE TABLE t(a); DELETE FROM raid_plugin",
        "DELETE FROM raid_plugin WHERE ID = \"1",
        "DELETE FROM raid_plugin WHERE ID = 1 OR `a",
        "PRAGMA user_version = 9; DELETE FROM raid_plugin\0WHERE ID = 1"s,
        "PRAGMA user_version = 9; \0DELETE FROM raid_plugin"s,
        "DELETE FROM raid_plugin WHERE 1 OR ID = :a",
        "DELETE FROM raid_plugin WHERE 1 OR ID = ?2",
        "SELECT \"q\"1e",
        "BEGIN",
    };
    const Store store(":memory:");
    store.Add("one");
    for (const std::string& text : texts)
    {
        const std::string refusal = store.Refusal(text);
        EXPECT_TRUE(refusal.ends_with(" (:memory:)")) << text << ": " << refusal;
        EXPECT_EQ(store("PRAGMA user_version; SELECT plugin FROM plugins"), (Cells{"1", "one"}));
    }
}

TEST(Tables, KeepTheirKeys)
{
    const Store store(":memory:");
    store("INSERT INTO raid_pd (pd_globalAdapterNumber, pd_uniqueId) VALUES(1, \"u\");");
    const std::string partition =
        "INSERT INTO raid_partition (prt_hostName, prt_globalAdapterNumber, prt_driveUniqueId) "
        "VALUES(NULL, 1, 'u')";
    store(partition);
    EXPECT_EQ(store.Refusal(partition),
              "UNIQUE constraint failed: raid_partition.prt_globalAdapterNumber, "
              "raid_partition.prt_hostName, raid_partition.prt_partitionName (:memory:)");
    store("PRAGMA foreign_keys = OFF");
    store("PRAGMA foreign_keys = ON; UPDATE raid_pd SET pd_uniqueId=\"v\" WHERE ID = 1;");
    EXPECT_EQ(store("SELECT drive_unique_id, host FROM partitions"), (Cells{"v", "NULL"}));
}

// Programs go by the page: its columns, in this order.
TEST(Tables, HaveTheViewsThatThePageShows)
{
    const Store store(":memory:");
    std::ifstream page(DATABASE_PAGE);
    const std::regex row(R"(\| `(drives|partitions|adapters|plugins)` \|[^|]*\|(.*)\|)");
    const std::regex name("`([^`]+)`");
    int views = 0;
    std::smatch found;
    for (std::string line; std::getline(page, line);)
        if (std::regex_match(line, found, row))
        {
            ++views;
            const std::string columns = found[2];
            Cells shown;
            for (std::sregex_iterator at(columns.begin(), columns.end(), name), end; at != end;
                 ++at)
                shown.push_back((*at)[1]);
            EXPECT_EQ(store("SELECT name FROM pragma_table_info('" + found[1].str() + "')"), shown);
        }
    EXPECT_EQ(views, 4);
}

TEST_F(File, OfAnotherKindIsRefusedAndUntouchedUntilItIsMovedAway)
{
    // Whether the file is ours, and what is done to it; null: garbage.
    const std::tuple<const char*, bool, const char*> cases[] = {
        {"a database of another program; move it away or name another file in TARNIS_DATABASE",
         false, "CREATE TABLE raid_pd (a)"},
        {"a database of another", false, "PRAGMA journal_mode = WAL; CREATE TABLE t (a)"},
        {"a database of another program", false, "PRAGMA application_id = 5"},
        {"a database of version 2,", true, "PRAGMA user_version = 2"},
        {"a database of version 0,", true, "PRAGMA user_version = 0"},
        {"the table raid_pd was changed", true, "ALTER TABLE raid_pd ADD COLUMN more TEXT"},
        {"a database of version 2,", true, "PRAGMA user_version = 2; PRAGMA journal_mode = WAL"},
        {"the table raid_pd was changed", true,
         "PRAGMA journal_mode = WAL; ALTER TABLE raid_pd ADD COLUMN more TEXT"},
        {"a database of another program", false,
         "PRAGMA journal_mode = PERSIST; PRAGMA application_id = 5"},
        {"file is not a database", false, nullptr},
    };
    for (const auto& [told, isOurs, change] : cases)
    {
        SCOPED_TRACE(told);
        for (const char* ending : {"", "-wal", "-shm", "-journal"})
            files::remove(m_Path + ending); // no store of ours has it open now
        if (isOurs)
            Store(m_Path).Add("x");
        if (change == nullptr)
            m_Folder.Write(m_Name, "SQLite format 3" + std::string(4096, '\0'));
        else
            Outsider(m_Path).Do((isOurs ? "PRAGMA journal_mode = DELETE; "s : "") + change);
        const auto before = Contents();
        const Store store(m_Path);
        for (int i = 0; i < 2; ++i)
        {
            const std::string refusal = store.Refusal("DELETE FROM raid_plugin");
            EXPECT_TRUE(refusal.starts_with(told)) << refusal;
            EXPECT_TRUE(refusal.ends_with(" (" + m_Path + ")")) << refusal;
            EXPECT_TRUE(RowTrouble().starts_with(m_Path + ": " + std::string(told).substr(0, 20)))
                << RowTrouble();
        }
        EXPECT_EQ(Contents(), before);
        for (const char* ending : {"", "-wal", "-shm", "-journal"})
            files::remove(m_Path + ending);
        EXPECT_EQ(store.Names(), Cells{});
        EXPECT_NE(RowTrouble(), "") << "nothing was written yet";
        store.Add("x");
        EXPECT_EQ(RowTrouble(), "");
    }
    EXPECT_TRUE(Store(m_Folder.Path()).Refusal("SELECT 1").starts_with("not a regular file"));
}

TEST_F(File, IsMended)
{
    Store(m_Path).Add("kept");
    // Other programs' tables stay, views of ours come back.
    Outsider(m_Path).Do("CREATE TABLE theirs (a); DROP VIEW plugins; CREATE VIEW plugins AS "
                        "SELECT 1; DROP VIEW drives; DROP INDEX raid_partition_of_raid_pd");
    const Store store(m_Path);
    EXPECT_EQ(store.Names(), Cells{"kept"});
    EXPECT_EQ(store("SELECT count(*) FROM sqlite_master WHERE name IN ('theirs', 'drives', "
                    "'raid_partition_of_raid_pd')"),
              Cells{"3"});
    // A table that goes while the file is open is told of.
    Outsider(m_Path).Do("DROP VIEW plugins; ALTER TABLE raid_plugin RENAME TO hidden");
    EXPECT_NE(store.Refusal("DELETE FROM raid_plugin"), "");
    EXPECT_TRUE(store.Refusal("SELECT 1").starts_with("the table raid_plugin was changed"));
}

TEST_F(File, LockedByAnotherProgram)
{
    const Store store(m_Path);
    const Outsider outsider(m_Path);
    const auto addUnderShortLock = [&](const char* name)
    {
        outsider.Do("BEGIN EXCLUSIVE");
        const std::jthread release(&Outsider::Do, &outsider, "COMMIT", Milliseconds(300));
        store.Add(name);
    };
    store.Add("before");
    addUnderShortLock("waited for");
    outsider.Do("BEGIN EXCLUSIVE");
    const std::pair<int, int> waits[] = {{1900, 4000}, {0, 500}, {0, 500}};
    for (const auto& [least, most] : waits)
    {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(store.Refusal("DELETE FROM raid_plugin"), "database is locked (" + m_Path + ")");
        EXPECT_EQ(store.Names().size(), 2u) << "reading goes on";
        EXPECT_EQ(RowTrouble(), m_Path + ": another program keeps the file locked; rows are not "
                                         "kept; end that program, or its transaction");
        const auto time = std::chrono::steady_clock::now() - begin;
        EXPECT_TRUE(time >= Milliseconds(least) && time < Milliseconds(most)) << time.count();
    }
    outsider.Do("COMMIT");
    store.Add("after");
    EXPECT_EQ(RowTrouble(), "");
    addUnderShortLock("patient again");
}

TEST_F(File, IsWrittenOnlyWhereARowDiffers)
{
    const Store store(m_Path);
    store("INSERT INTO raid_pd (pd_vendorName, pd_temperature, pd_writtenVolume, pd_objectId, "
          "pd_productName, pd_serialNumber) VALUES(\"v\", 30, 1.5, 18446744073709551615, \"\", "
          "NULL)");
    store("INSERT INTO raid_pd (pd_deviceNumber, pd_temperature) VALUES(2, 30)");
    const std::string same = "pd_vendorName=\"v\", pd_temperature=30, pd_writtenVolume=1.500000, "
                             "pd_objectId=18446744073709551615, pd_productName=\"\", "
                             "pd_serialNumber=NULL";
    const std::string where = " WHERE ID = 1;";
    const std::string cells = "SELECT pd_vendorName, pd_temperature, pd_writtenVolume, "
                              "CAST(pd_objectId AS TEXT), pd_productName, pd_serialNumber "
                              "FROM raid_pd WHERE ID = 1";
    const Cells held = {"v", "30", "1.5", "18446744073709551615", "", "NULL"};
    // What is set, whether that is written, what the row holds then.
    struct
    {
        std::string set;
        bool writes;
        Cells held;
    } const cases[] = {
        {same, false, held},
        {same + ", pd_vendorName=\"w\"", true, {"w", "30", "1.5", held[3], "", "NULL"}},
        {"pd_vendorName=\"v\", pd_temperature=30", true, held},
        {"pd_temperature=31, pd_vendorName=\"v\"", true, {"v", "31", "1.5", held[3], "", "NULL"}},
        {"pd_temperature=NULL", true, {"v", "NULL", "1.5", held[3], "", "NULL"}},
        {"pd_temperature=30", true, held},
        {"pd_writtenVolume=1.500001", true, {"v", "30", "1.500001", held[3], "", "NULL"}},
        {"pd_writtenVolume=1.5, pd_productName=\"p\"",
         true,
         {"v", "30", "1.5", held[3], "p", "NULL"}},
        {"pd_productName=NULL, pd_serialNumber=\"NULL\"",
         true,
         {"v", "30", "1.5", held[3], "NULL", "NULL"}},
        {"pd_productName=\"\", pd_serialNumber=NULL", true, held},
        {"pd_objectId=18446744073709551614",
         true,
         {"v", "30", "1.5", "18446744073709551614", "", "NULL"}},
        {"pd_objectId=18446744073709551615", true, held},
        {"pd_vendorName=\"vv\"", true, {"vv", "30", "1.5", held[3], "", "NULL"}},
        {same, true, held},
        {same, false, held},
    };
    const Outsider reader(m_Path); // keeps the log where it is
    reader.Do("SELECT * FROM raid_pd");
    for (const auto& [set, writes, after] : cases)
    {
        const auto before = Contents();
        store("PRAGMA foreign_keys = ON; UPDATE raid_pd SET " + set + where);
        EXPECT_EQ(Contents() != before, writes) << set;
        EXPECT_EQ(store(cells), after) << set;
    }
    store("UPDATE raid_pd SET pd_temperature=40, pd_vendorName=\"v\" WHERE pd_temperature = '30'");
    EXPECT_EQ(store("SELECT count(*) FROM raid_pd WHERE pd_temperature = 40 AND "
                    "pd_vendorName = 'v'"),
              Cells{"2"})
        << "all rows that the condition holds for";
    EXPECT_EQ(store("UPDATE raid_pd SET pd_temperature=41 WHERE ID = 1 RETURNING ID"), Cells{"1"});
    EXPECT_EQ(store("UPDATE raid_pd SET pd_temperature=41 WHERE ID = 1 RETURNING ID"), Cells{"1"});
    reader.Do("UPDATE raid_pd SET pd_temperature = 99 WHERE ID = 1");
    store("UPDATE raid_pd SET pd_temperature=41 WHERE ID = 1;");
    EXPECT_EQ(store("SELECT pd_temperature FROM raid_pd WHERE ID = 1"), Cells{"41"})
        << "what another program changed";
}

TEST_F(File, InStepNeedsNoLockForWriting)
{
    const Store store(m_Path);
    const Outsider outsider(m_Path);
    const std::string first = "UPDATE raid_plugin SET plg_vendorName=\"a\" WHERE ID = 1;";
    const std::string other = "UPDATE raid_plugin SET plg_vendorName=\"b\" WHERE ID = 1;";
    store.Add("p");
    store(first);
    outsider.Do("BEGIN IMMEDIATE");
    EXPECT_EQ(store.Refusal(first), "");
    EXPECT_EQ(RowTrouble(), "");
    EXPECT_NE(store.Refusal(other), "") << "which is waited for";
    EXPECT_EQ(store.Refusal(first), "") << "the row is as it was";
    EXPECT_NE(RowTrouble(), "") << "but it could not be written";
    outsider.Do("COMMIT");
    EXPECT_EQ(store.Refusal(first), "");
    EXPECT_EQ(RowTrouble(), "");
    outsider.Do("BEGIN IMMEDIATE");
    const std::jthread release(&Outsider::Do, &outsider, "COMMIT", Milliseconds(300));
    EXPECT_EQ(store.Refusal(other), "") << "patient again";
}

TEST_F(File, HasOneConnectionForAllThreadsThatMixesNoValues)
{
    const Store keeper(m_Path);
    constexpr std::size_t forms = 100; // more than are kept
    std::vector<std::jthread> threads;
    for (const std::string thread : {"'a", "'b", "'c", "'d"})
        threads.emplace_back(
            [thread]
            {
                const Store store;
                for (std::size_t i = 0; i < 2 * forms; ++i)
                {
                    const std::string name = thread + std::to_string(i % forms) + "'";
                    const std::string refusal = store.Refusal(
                        "INSERT INTO raid_plugin (plg_pluginName, plg_vendorName) VALUES(" + name +
                        ", " + name + std::string(i % forms, ' ') + ")");
                    EXPECT_EQ(refusal.starts_with("UNIQUE"), i >= forms) << refusal;
                    EXPECT_EQ(
                        store("SELECT quote(plugin), version FROM plugins WHERE vendor = " + name),
                        (Cells{name, "NULL"}));
                }
            });
    threads.clear();
    EXPECT_EQ(keeper.Names().size(), 4 * forms);
    EXPECT_NE(DatabaseORM::getDatabasePointer(), DatabaseORM::getDatabasePointer());
    EXPECT_EQ(DatabaseORM::getDatabasePointer()->dao, DatabaseORM::getDatabasePointer()->dao);
}

TEST_F(File, OverwrittenWhileOpen)
{
    Outsider(m_Folder.File("theirs")).Do("CREATE TABLE theirs (a)");
    const std::string contents[] = {"no database", std::string(5000, 'x'), m_Folder.Read("theirs")};
    for (const std::string& content : contents)
        for (const bool isUsed : {false, true})
        {
            {
                const Store store(m_Path);
                store.Add("x");
                m_Folder.Write(m_Name, content);
                EXPECT_NE(isUsed ? store.Refusal("SELECT 1") : "not asked", "");
            }
            EXPECT_EQ(m_Folder.Read(m_Name), content) << "the log went into what stands there now";
            EXPECT_EQ(std::distance(files::directory_iterator(m_Folder.Path()), {}), 2)
                << "the log would go into it with the next program";
            files::remove(m_Path);
        }
}

#if !defined(_WIN32) // processes and places; a file that is open can be removed

/// A process of its own.
struct Child
{
    explicit Child(const std::function<void()>& part) noexcept : process(fork())
    {
        if (process != 0)
            return;
        part();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    bool Succeeded() const
    {
        int status = -1;
        return waitpid(process, &status, 0) == process && status == 0;
    }
    pid_t process;
};

TEST_F(File, IsFoundByTheEnvironment)
{
    if (files::exists("/var/lib/tarnis"))
        GTEST_SKIP() << "this computer has a database of its own";
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", m_Folder.Path().c_str(), 1);
    Store("").Add("home");
    setenv("XDG_STATE_HOME", m_Folder.Path().c_str(), 1);
    Store("").Add("state");
    EXPECT_EQ(Store(m_Folder.File(".local/state/tarnis/tarnis.db")).Names(), Cells{"home"});
    EXPECT_EQ(Store(m_Folder.File("tarnis/tarnis.db")).Names(), Cells{"state"});

    // Each machine file has a database of its own, however the file is called.
    for (const std::string& machine : {std::string("/a/lab.json"), std::string("/b/lab.json"),
                                       std::string("/a/\xC3\xA4 b.c.json"), std::string(99, 'x')})
    {
        setenv("TARNIS_MACHINE", machine.c_str(), 1);
        Store("").Add(machine);
        EXPECT_EQ(Store("").Names(), Cells{machine});
        setenv("TARNIS_MACHINE", "/c/../a/lab.json", 1); // as long as the name means the same file
        EXPECT_EQ(Store("").Names(), Cells{"/a/lab.json"});
    }
    unsetenv("TARNIS_MACHINE");
    EXPECT_EQ(Store("").Names(), Cells{"state"});
    for (const auto& entry : files::directory_iterator(m_Folder.File("tarnis")))
        EXPECT_TRUE(std::regex_match(entry.path().filename().string(),
                                     std::regex("(tarnis|machine-[\\w-]{1,60}-[0-9a-f]{8})\\.db")))
            << entry;
    unsetenv("XDG_STATE_HOME");
    unsetenv("HOME");
    EXPECT_EQ(Store("").Refusal("SELECT 1"),
              "no place for the database: name a file in TARNIS_DATABASE");
}

TEST_F(File, RemovedReplacedOrOverwrittenWhileOpen)
{
    for (const Cells& logs : {Cells{}, Cells{"-wal", "-shm"}})
    {
        SCOPED_TRACE(logs.size());
        const std::string deep = m_Folder.File("deep"), path = deep + "/db";
        const auto removeLog = [&]
        {
            for (const std::string& log : logs)
                files::remove(path + log);
        };
        Store(m_Path).Add("other");
        const Store store(path);
        store.Add("a");
        files::remove(path);
        removeLog();
        store.Add("b");
        EXPECT_EQ(store.Names(), (Cells{"a", "b"}));
        EXPECT_EQ(std::distance(files::directory_iterator(deep), {}), 3) << "nothing else is left";

        files::remove_all(deep);
        m_Folder.Write("deep", "in the way");
        EXPECT_NE(store.Refusal("SELECT 1"), "");
        files::remove(deep);
        store.Add("c");
        EXPECT_EQ(store.Names(), (Cells{"a", "b", "c"}));

        files::rename(path, m_Folder.File("old"));
        files::rename(m_Path, path);
        removeLog();
        EXPECT_NE(store.Refusal("SELECT 1"), "") << "rows are missing, which is told once";
        EXPECT_EQ(store.Names(), Cells{"other"});
        EXPECT_EQ(store("PRAGMA integrity_check"), Cells{"ok"});
        Outsider(m_Folder.File("old"))
            .Do("INSERT INTO raid_plugin (ID) SELECT 1 WHERE NOT EXISTS "
                "(SELECT 1 FROM plugins WHERE plugin = 'c')");

        const std::string garbage(5000, 'x');
        for (const std::size_t sound : {0, 100}) // bytes that are left of the removed file
        {
            store.Add("lost");
            Outsider(path).Do("PRAGMA wal_checkpoint(TRUNCATE)");
            m_Folder.Write("deep/db", m_Folder.Read("deep/db").substr(0, sound) + garbage);
            files::remove(path);
            EXPECT_TRUE(store.Refusal("SELECT 1").starts_with("another file was put in"));
            EXPECT_EQ(store.Names(), Cells{});
        }
        files::remove_all(deep);
    }
}

TEST_F(File, SharedByProcessesThatStartAtOnceAndLoseItTogether)
{
    constexpr int processes = 4, rounds = 3, rows = 20;
    void* const memory = mmap(nullptr, sizeof(pthread_barrier_t), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* const barrier = static_cast<pthread_barrier_t*>(memory);
    pthread_barrierattr_t shared;
    pthread_barrierattr_init(&shared);
    pthread_barrierattr_setpshared(&shared, PTHREAD_PROCESS_SHARED);
    pthread_barrier_init(barrier, &shared, processes + 1);
    const auto meet = [barrier] { pthread_barrier_wait(barrier); };
    std::vector<Child> children;
    for (int process = 0; process < processes; ++process)
        children.emplace_back(
            [&, process]
            {
                const Store store(m_Path);
                for (int round = 1; round <= rounds; ++round)
                {
                    meet();
                    meet(); // the file is gone
                    if (round == rounds && process != 0)
                        meet(); // one is through before the others find out
                    for (int row = 0; row < rows; ++row)
                        store.Add(std::to_string((process * rounds + round) * rows + row));
                }
                if (process == 0)
                    meet();
                meet(); // and all are, before one closes
            });
    for (int round = 0; round < rounds; ++round)
    {
        meet();
        files::remove(m_Path);
        meet();
    }
    meet();
    meet();
    for (const Child& child : children)
        EXPECT_TRUE(child.Succeeded());
    const Store store(m_Path);
    EXPECT_EQ(store.Names().size(), std::size_t{rounds * processes * rows});
    EXPECT_EQ(store("PRAGMA integrity_check"), Cells{"ok"});
}

TEST_F(File, FirstUsedByTwoProcessesThatBothFindItEmpty)
{
    std::vector<Child> children; // first of all: no open database goes through a fork
    for (const char* const name : {"one", "two"})
        children.emplace_back(
            [this, name]
            {
                while (!files::exists(m_Path + "-wal"))
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                Store(m_Path).Add(name);
            });
    const Outsider outsider(m_Path);
    outsider.Do("PRAGMA journal_mode = WAL; BEGIN IMMEDIATE"); // both may look, and then wait
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    outsider.Do("COMMIT");
    for (const Child& child : children)
        EXPECT_TRUE(child.Succeeded());
    EXPECT_EQ(Store(m_Path).Names().size(), 2U);
}

/// Runs a part in a process of its own that has a disk of so many kilobytes.
/// @return false where the system grants none
bool RunOnSmallDisk(const std::string& place, int kilobytes, const std::function<void()>& part)
{
    constexpr int notGranted = 77;
    const auto mounted = [&]
    {
        if (unshare(geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0 ||
            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", place.c_str(), "tmpfs", 0,
                  ("size=" + std::to_string(kilobytes) + "k").c_str()) != 0)
            _exit(notGranted);
        part();
    };
    const Child child(mounted);
    int status = -1;
    EXPECT_EQ(waitpid(child.process, &status, 0), child.process);
    const bool isGranted = !WIFEXITED(status) || WEXITSTATUS(status) != notGranted;
    EXPECT_TRUE(status == 0 || !isGranted);
    return isGranted;
}

TEST_F(File, MakesRoomForItselfOnASmallDisk)
{
    constexpr int rows = 200;
    const bool isGranted = RunOnSmallDisk(
        m_Folder.Path(), 600,
        [this]
        {
            const Store store(m_Path);
            for (int row = 0; row < rows; ++row)
                store("INSERT INTO raid_pd (pd_deviceNumber, pd_vendorName) VALUES(" +
                      std::to_string(row) + ", \"" + std::string(500, 'x') + "\");");
            EXPECT_EQ(store("SELECT count(*) FROM raid_pd"), Cells{std::to_string(rows)});
            EXPECT_EQ(RowTrouble(), "");
            const std::string fill = m_Folder.Write("fill", std::string(600000, 'x'));
            std::string refusal;
            for (int row = rows; refusal.empty(); ++row)
                refusal = store.Refusal("INSERT INTO raid_pd (pd_deviceNumber) VALUES(" +
                                        std::to_string(row) + ")");
            EXPECT_TRUE(refusal.starts_with("database or disk is full")) << refusal;
            store("UPDATE raid_pd SET pd_deviceNumber=0 WHERE ID = 1;");
            EXPECT_TRUE(RowTrouble().find("the disk is full") != std::string::npos)
                << "a row that is as it should be makes no room";
            files::remove(fill);
            store("INSERT INTO raid_pd (pd_deviceNumber) VALUES(-2)");
            EXPECT_EQ(RowTrouble(), "");
            EXPECT_EQ(store("PRAGMA integrity_check"), Cells{"ok"});
        });
    if (!isGranted)
        GTEST_SKIP() << "a disk of its own needs root or user namespaces";
}

TEST_F(File, BehindLinksAndWithItsRights)
{
    const mode_t umaskBefore = umask(0);
    const auto modeOf = [](const std::string& path)
    {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    };
    // The folder's rights, whether a link in it is followed.
    constexpr gid_t group = 4711;
    const bool isRoot = geteuid() == 0;
    for (const auto& [mode, isFollowed] :
         {std::pair{0755, true}, {0777, false}, {01777, false}, {0775, !isRoot}, {0700, true}})
    {
        SCOPED_TRACE(mode);
        const TestFolder base;
        const std::string folder = base.File("folder"), own = base.File("own");
        for (const std::string& name : {folder, own})
            files::create_directory(name);
        EXPECT_TRUE(!isRoot || chown(folder.c_str(), 0, group) == 0);
        EXPECT_EQ(chmod(folder.c_str(), static_cast<mode_t>(mode)), 0);
        EXPECT_EQ(chmod(own.c_str(), 0755), 0);

        Store(folder + "/new/deep/db").Add("x");
        EXPECT_EQ(modeOf(folder + "/new"), 0750u);
        EXPECT_EQ(modeOf(folder + "/new/deep"), 0750u);
        EXPECT_EQ(modeOf(folder + "/new/deep/db"), 0640u);
        struct stat status = {};
        EXPECT_EQ(stat((folder + "/new/deep/db").c_str(), &status), 0);
        EXPECT_TRUE(!isRoot || status.st_gid == group);

        files::create_symlink("../own/db", folder + "/db");
        files::create_directory_symlink(own, folder + "/own");
        for (const char* name : {"/db", "/own/db2", "/own/new/db"})
        {
            const std::string refusal = Store(folder + name).Refusal("SELECT 1");
            EXPECT_EQ(refusal.empty(), isFollowed) << refusal;
            EXPECT_EQ(refusal.find("a link that others may have put there") == std::string::npos,
                      isFollowed);
        }
        EXPECT_EQ(files::is_empty(own), !isFollowed);
    }
    files::create_symlink("loop", m_Folder.File("loop"));
    EXPECT_NE(Store(m_Folder.File("loop/db")).Refusal("SELECT 1"), "");
    EXPECT_EQ(Store(m_Folder.File("missing/../up")).Refusal("SELECT 1"), "");
    umask(umaskBefore);
}

TEST_F(File, ThatIsFull)
{
    const std::string big(100000, 'x');
    const Store store(m_Path);
    store("PRAGMA max_page_count = 1");
    EXPECT_EQ(store.Refusal("INSERT INTO raid_plugin (plg_pluginName) VALUES('" + big + "')"),
              "database or disk is full (" + m_Path + ")");
    EXPECT_EQ(store.Names(), Cells{});
    store("DELETE FROM raid_plugin");
    EXPECT_EQ(RowTrouble(), m_Path + ": the disk is full; rows are not kept; free space there")
        << "no row was deleted";
    store("PRAGMA max_page_count = 1000");
    store.Add(big);
    EXPECT_NE(store.Refusal("INSERT INTO raid_plugin (plg_pluginName) VALUES('" + big + "')"), "");
    EXPECT_EQ(RowTrouble(), "") << "the statement's own fault";
    EXPECT_EQ(store.Names(), Cells{big});
}

TEST_F(File, ThatMayOnlyBeReadAtFirst)
{
    const std::string used = m_Path + "used";
    for (const std::string& path : {m_Path, used})
        Store(path).Add("one");
    const Outsider writer(used);
    writer.Do("INSERT INTO raid_plugin (plg_pluginName) VALUES('two')");
    writer.Do("DROP VIEW drives"); // is made anew when it can be
    std::vector<files::path> places(files::directory_iterator(m_Folder.Path()), {});
    places.emplace_back(m_Folder.Path());
    constexpr uid_t nobody = 65534;
    for (const files::path& place : places)
        EXPECT_TRUE(geteuid() != 0 || chown(place.c_str(), nobody, nobody) == 0);
    const auto allow = [&places](mode_t mode)
    {
        for (const files::path& place : places)
            EXPECT_EQ(chmod(place.c_str(), mode), 0);
    };
    const auto readAndWrite = [&](const std::string& path, const Cells& names)
    {
        allow(0555);
        const Store store(path);
        EXPECT_EQ(store.Names(), names);
        EXPECT_EQ(store.Refusal("DELETE FROM raid_plugin"),
                  "attempt to write a readonly database (" + path + ")");
        EXPECT_TRUE(RowTrouble().starts_with(path + ": the file may only be read; "));
        EXPECT_EQ(store.Names(), names);
        allow(0777);
        EXPECT_EQ(store.Refusal("DELETE FROM raid_plugin"), "");
    };
    const Child child(
        [&]
        {
            EXPECT_TRUE(geteuid() != 0 || setresuid(nobody, nobody, nobody) == 0);
            readAndWrite(m_Path, {"one"});
            readAndWrite(used, {"one", "two"});
        });
    EXPECT_TRUE(child.Succeeded());
}

#endif

} // namespace
