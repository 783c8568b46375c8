#include "database/Schema.h"
#include "database/Storage.h"
#include "tests/support/TestFolder.h"

#include <array>
#include <chrono>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <poll.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

namespace files = std::filesystem;
using namespace std::string_literals;
using Cells = std::vector<std::string>;
using Milliseconds = std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// A storage object on a file.
class Store
{
  public:
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
    void Do(const std::string& text) const
    {
        EXPECT_EQ(sqlite3_exec(database, text.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << text << ": " << sqlite3_errmsg(database);
    }
    sqlite3* database = nullptr;
};

/// A process of its own.
struct Child
{
    explicit Child(const std::function<bool()>& part) : process(fork())
    {
        if (process != 0)
            return;
        try
        {
            _exit(part() ? 0 : 1);
        }
        catch (const std::exception& failure)
        {
            std::cerr << failure.what() << '\n';
            _exit(2);
        }
    }
    bool Succeeded() const
    {
        int status = -1;
        return waitpid(process, &status, 0) == process && status == 0;
    }
    pid_t process;
};

/// One process waits for another.
struct Bell
{
    Bell() { EXPECT_EQ(pipe(ends.data()), 0); }
    bool Ring() const { return write(ends[1], "", 1) == 1; }
    bool Await() const
    {
        pollfd end = {ends[0], POLLIN, 0};
        char byte = 0;
        return poll(&end, 1, 10000) == 1 && read(ends[0], &byte, 1) == 1;
    }
    std::array<int, 2> ends{};
};

std::string Quoted(char quote, const std::string& text)
{
    std::string quoted(1, quote);
    for (const char letter : text)
        quoted.append(letter == quote ? 2 : 1, letter);
    return quoted + quote;
}

TEST(Statements, KeepEveryTextAndTouchNoOtherRow)
{
    Cells texts = {"", "NULL", "rowid", "\"", "''", "a\";b", "/* */ -- ?", "007", "1e5", "[a]`b`"};
    texts.push_back("x'; DROP TABLE raid_plugin; --");
    texts.push_back(std::string(1000000, '"') + "end");
    for (int byte = 0; byte < 256; ++byte)
        texts.front() += static_cast<char>(byte);
    texts.emplace_back();
    for (const auto& table : DatabaseORM::AllTables())
        for (const auto& column : table->columns)
            texts.push_back(column->name);
    const Store store(":memory:");
    store.Add("beside");
    const Cells beside = store("SELECT * FROM raid_plugin");
    for (const std::string& text : texts)
        for (const char quote : {'"', '\''})
        {
            const std::string value = Quoted(quote, text);
            SCOPED_TRACE(value.substr(0, 50));
            const std::string where = " WHERE ( plg_pluginName = " + value + ") ";
            store("INSERT INTO raid_plugin (plg_pluginName, plg_vendorName) VALUES(" + value +
                  ", " + value + ");");
            store("UPDATE raid_plugin SET plg_version=" + value + ", plg_text2=NULL" + where + ";");
            EXPECT_EQ(store("SELECT plugin, vendor, version FROM plugins A  WHERE A.plugin = " +
                            value + " AND A.version=" + value),
                      (Cells{text, text, text}));
            store("PRAGMA foreign_keys = ON; DELETE FROM raid_plugin " + where);
            EXPECT_EQ(store("SELECT * FROM raid_plugin"), beside);
        }
}

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
        {"VALUES(1,-2),(3,\"x\")", {"1", "-2", "3", "x"}},
        {"WITH t1(a1) AS (VALUES(2),(1)) SELECT a1 FROM t1 ORDER BY 1", {"1", "2"}},
        {"SELECT count(*), 5 FROM (SELECT 1 a UNION ALL SELECT 1) GROUP BY a", {"2", "5"}},
        {"; PRAGMA user_version; pragma page_size;SELECT 9;;", {"1", "4096", "9"}},
        {" ; -- nothing", {}},
    };
    const Store store(":memory:");
    for (const auto& [text, cells] : cases)
        EXPECT_EQ(store(text), cells) << text;

    store.Add("n");
    for (const char* number :
         {"0", "-2147483648", "9223372036854775807", "-9223372036854775808", "9223372036854775808",
          "18446744073709551614", "-9223372036854775809", "123456789012345678901234567890"})
    {
        store("UPDATE raid_plugin SET plg_objectId="s + number + " WHERE ID = 1;");
        EXPECT_EQ(store("SELECT object_id FROM plugins"), Cells{number});
    }
}

TEST(Statements, ASecondOneIsRefusedBeforeAnythingIsDone)
{
    const std::string texts[] = {
        "DELETE FROM raid_plugin; SELECT 1",
        "DELETE FROM raid_plugin WHERE ID = 'x' OR 1; DROP TABLE raid_pd; --'",
        "DELETE FROM raid_plugin; PRAGMA user_version = 9",
        "PRAGMA user_version = 9; CREATE TABLE t(a); DELETE FROM raid_plugin",
        "DELETE FROM raid_plugin WHERE ID = \"1",
        "DELETE FROM raid_plugin WHERE ID = 1 OR `a",
        "PRAGMA user_version = 9; DELETE FROM raid_plugin\0WHERE ID = 1"s,
        "PRAGMA user_version = 9; \0DELETE FROM raid_plugin"s,
        "DELETE FROM raid_plugin WHERE 1 OR ID = :a",
        "DELETE FROM raid_plugin WHERE 1 OR ID = ?2",
        "DELETE FROM raid_plugin WHERE a",
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

TEST(Statements, RepeatedOnesMixNoValues)
{
    const Store store(":memory:");
    const std::string taken = "UNIQUE constraint failed: raid_plugin.plg_pluginName (:memory:)";
    constexpr std::size_t forms = 100; // more than are kept
    for (int round = 0; round < 3; ++round)
        for (std::size_t i = 0; i < forms; ++i)
        {
            const std::string name = std::to_string(i);
            EXPECT_EQ(store.Refusal("INSERT INTO raid_plugin (plg_pluginName, plg_pollInterval) "
                                    "VALUES(\"" +
                                    name + "\", " + name + std::string(i, ' ') + ")"),
                      round == 0 ? "" : taken);
            EXPECT_EQ(
                store("SELECT plugin, vendor FROM plugins WHERE poll_seconds = '" + name + "'"),
                (Cells{name, "NULL"}));
        }
}

TEST(Tables, KeepTheirKeys)
{
    const TestFolder folder;
    const Store store(folder.File("tarnis.db"));
    const std::string partition =
        "INSERT INTO raid_partition (prt_hostName, prt_globalAdapterNumber, prt_driveUniqueId, "
        "prt_partitionName) VALUES(NULL, 1, \"u\", \"p\");";
    store("INSERT INTO raid_pd (pd_hostName, pd_globalAdapterNumber, pd_deviceNumber, pd_uniqueId, "
          "pd_remainingReserveSpace) VALUES(NULL, 1, 2, \"u\", 12.500000);");
    store(partition);
    EXPECT_EQ(store("SELECT host, reserve_percent, size_mib FROM drives"),
              (Cells{"NULL", "12.5", "NULL"}));
    EXPECT_EQ(store.Refusal(partition),
              "UNIQUE constraint failed: raid_partition.prt_globalAdapterNumber, "
              "raid_partition.prt_hostName, raid_partition.prt_partitionName (" +
                  folder.File("tarnis.db") + ")");
    store("PRAGMA foreign_keys = ON; UPDATE raid_pd SET pd_uniqueId=\"v\" WHERE ID = 1;");
    EXPECT_EQ(store("SELECT drive_unique_id FROM partitions"), Cells{"v"});
    EXPECT_TRUE(store.Refusal("UPDATE raid_partition SET prt_driveUniqueId=\"u\" WHERE ID = 1;")
                    .starts_with("FOREIGN KEY constraint failed"));
    store("PRAGMA foreign_keys = OFF");
    store("PRAGMA foreign_keys = ON; DELETE FROM raid_pd  WHERE ID = '1'");
    EXPECT_EQ(store("SELECT count(*) FROM partitions"), Cells{"0"});
}

TEST(File, IsFoundByTheEnvironment)
{
    if (files::exists("/var/lib/tarnis"))
        GTEST_SKIP() << "this computer has a database of its own";
    const TestFolder folder;
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", folder.Path().c_str(), 1);
    Store("").Add("home");
    setenv("XDG_STATE_HOME", folder.Path().c_str(), 1);
    Store("").Add("state");
    EXPECT_EQ(Store(folder.File(".local/state/tarnis/tarnis.db")).Names(), Cells{"home"});
    EXPECT_EQ(Store(folder.File("tarnis/tarnis.db")).Names(), Cells{"state"});
    unsetenv("XDG_STATE_HOME");
    unsetenv("HOME");
    EXPECT_EQ(Store("").Refusal("SELECT 1"),
              "no place for the database: name a file in TARNIS_DATABASE");
}

TEST(File, OfAnotherKindIsRefusedAndUntouchedUntilItIsMovedAway)
{
    const TestFolder folder;
    const std::string path = folder.File("tarnis.db");
    const auto foreign = [&](const char* text) { return [=] { Outsider(path).Do(text); }; };
    const auto changed = [&](const char* text)
    {
        return [=]
        {
            Store(path).Add("x");
            Outsider(path).Do("PRAGMA journal_mode = DELETE; "s + text);
        };
    };
    const auto holding = [&](const std::string& content)
    { return [&folder, content] { folder.Write("tarnis.db", content); }; };
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"a database of another program; move it away or name another file in TARNIS_DATABASE",
         foreign("CREATE TABLE raid_pd (a)")},
        {"a database of another", foreign("PRAGMA journal_mode = WAL; CREATE TABLE t (a)")},
        {"a database of another program", foreign("PRAGMA application_id = 5")},
        {"a database of version 2,", changed("PRAGMA user_version = 2")},
        {"a database of version 0,", changed("PRAGMA user_version = 0")},
        {"the table raid_pd was changed", changed("ALTER TABLE raid_pd ADD COLUMN more TEXT")},
        {"the table raid_plugin was changed", changed("DROP TABLE raid_plugin")},
        {"file is not a database", holding("SQLite format 3" + std::string(4096, '\0'))},
        {"file is not a database", holding(std::string(5000, 'x'))},
        {"not a regular file", [&] { files::create_directory(path); }},
    };
    for (const auto& [told, make] : cases)
    {
        make();
        const auto content = [&]
        { return files::is_directory(path) ? "" : folder.Read("tarnis.db"); };
        const std::string before = content();
        const Store store(path);
        for (int i = 0; i < 2; ++i)
        {
            const std::string refusal = store.Refusal("DELETE FROM raid_plugin");
            EXPECT_TRUE(refusal.starts_with(told)) << told << ": " << refusal;
            EXPECT_TRUE(refusal.ends_with(" (" + path + ")")) << refusal;
        }
        EXPECT_EQ(content(), before) << told;
        files::remove(path);
        EXPECT_EQ(store.Names(), Cells{}) << told;
        files::remove(path);
    }
}

TEST(File, IsMadeWithItsFoldersAndMended)
{
    const TestFolder folder;
    const std::string path = folder.File("a/b c/100%?#.db");
    {
        const Store store(path);
        EXPECT_FALSE(files::exists(path)) << "no statement so far";
        store.Add("kept");
    }
    // Other programs' tables stay, views of ours come back.
    Outsider(path).Do("CREATE TABLE theirs (a); DROP VIEW drives; DROP VIEW plugins; "
                      "CREATE VIEW plugins AS SELECT 1; DROP INDEX raid_partition_of_raid_pd");
    const Store store(path);
    EXPECT_EQ(store.Names(), Cells{"kept"});
    EXPECT_EQ(store("SELECT count(*) FROM sqlite_master WHERE name IN ('theirs', 'drives', "
                    "'raid_partition_of_raid_pd')"),
              Cells{"3"});
    // A table that goes while the file is open is told of.
    Outsider(path).Do("DROP VIEW plugins; ALTER TABLE raid_plugin RENAME TO hidden");
    EXPECT_NE(store.Refusal("DELETE FROM raid_plugin"), "");
    EXPECT_TRUE(store.Refusal("SELECT 1").starts_with("the table raid_plugin was changed"));
}

TEST(File, RemovedOrReplacedWhileOpen)
{
    for (const bool withLog : {false, true})
    {
        SCOPED_TRACE(withLog);
        const TestFolder folder;
        const std::string deep = folder.File("deep");
        const std::string path = deep + "/tarnis.db";
        const auto removeLog = [&]
        {
            for (const char* ending : {"-wal", "-shm"})
                if (withLog)
                    files::remove(path + ending);
        };
        Store(folder.File("other.db")).Add("other");
        const Store store(path);
        store.Add("a");
        files::remove(path);
        removeLog();
        store.Add("b");
        EXPECT_EQ(store.Names(), (Cells{"a", "b"}));
        EXPECT_EQ(std::distance(files::directory_iterator(deep), {}), 3) << "nothing else is left";

        files::remove_all(deep);
        folder.Write("deep", "in the way");
        EXPECT_NE(store.Refusal("SELECT 1"), "");
        files::remove(deep);
        store.Add("c");
        EXPECT_EQ(store.Names(), (Cells{"a", "b", "c"}));

        files::rename(path, folder.File("old.db"));
        files::rename(folder.File("other.db"), path);
        removeLog();
        EXPECT_NE(store.Refusal("SELECT 1"), "") << "rows are missing, which is told once";
        EXPECT_EQ(store.Names(), Cells{"other"});
        EXPECT_EQ(store("PRAGMA integrity_check"), Cells{"ok"});
        Outsider(folder.File("old.db"))
            .Do("INSERT INTO raid_plugin (ID) SELECT 1 WHERE NOT EXISTS "
                "(SELECT 1 FROM plugins WHERE plugin = 'c')");
    }
}

TEST(File, SharedByProcessesThatStartAtOnceAndLoseItTogether)
{
    const TestFolder folder;
    const std::string path = folder.File("new/tarnis.db");
    constexpr int processes = 4;
    constexpr int rounds = 3;
    constexpr int rows = 20;
    const Bell ready;
    const Bell go;
    const Bell end;
    const auto all = [](auto step)
    {
        for (int process = 0; process < processes; ++process)
            EXPECT_TRUE(step());
    };
    std::vector<Child> children;
    for (int process = 0; process < processes; ++process)
        children.emplace_back(
            [&, process]
            {
                const Store store(path);
                for (int row = 0; row < rounds * rows; ++row)
                {
                    if (row % rows == 0 && !(ready.Ring() && go.Await()))
                        return false;
                    store.Add(std::to_string(process) + "/" + std::to_string(row));
                }
                return ready.Ring() && end.Await();
            });
    for (int round = 0; round < rounds; ++round)
    {
        all([&ready] { return ready.Await(); });
        files::remove(path);
        // At the last time one is through before the others find out.
        const bool last = round == rounds - 1;
        EXPECT_TRUE(!last || (go.Ring() && ready.Await() && ready.Ring()));
        all([&go] { return go.Ring(); });
    }
    all([&ready] { return ready.Await(); });
    all([&end] { return end.Ring(); });
    for (const Child& child : children)
        EXPECT_TRUE(child.Succeeded());
    const Store store(path);
    EXPECT_EQ(store.Names().size(), std::size_t{rounds * processes * rows});
    EXPECT_EQ(store("PRAGMA integrity_check"), Cells{"ok"});
}

TEST(File, WholeAfterAKillAtAnyMoment)
{
    for (int delay = 0; delay < 15; ++delay)
    {
        const TestFolder folder;
        const std::string path = folder.File("tarnis.db");
        const Child child(
            [&path]() -> bool
            {
                const Store store(path);
                for (int row = 0;; ++row)
                    store.Add(std::to_string(row));
            });
        std::this_thread::sleep_for(std::chrono::microseconds(700 * delay));
        kill(child.process, SIGKILL);
        EXPECT_FALSE(child.Succeeded());
        EXPECT_EQ(Store(path)("PRAGMA integrity_check"), Cells{"ok"});
    }
}

TEST(File, ThatIsFull)
{
    const TestFolder folder;
    const std::string path = folder.File("tarnis.db");
    const std::string big(100000, 'x');
    const Store store(path);
    store("PRAGMA max_page_count = 1");
    EXPECT_EQ(store.Refusal("INSERT INTO raid_plugin (plg_pluginName) VALUES('" + big + "')"),
              "database or disk is full (" + path + ")");
    EXPECT_EQ(store.Names(), Cells{});
    store("PRAGMA max_page_count = 1000");
    store.Add(big);
    EXPECT_EQ(store.Names(), Cells{big});
}

TEST(File, ThatMayOnlyBeReadAtFirst)
{
    for (const bool inUse : {false, true})
    {
        SCOPED_TRACE(inUse);
        const TestFolder folder;
        const std::string path = folder.File("%41?#.db");
        Store(path).Add("one");
        const Cells names = inUse ? Cells{"one", "two"} : Cells{"one"};
        const auto allow = [&](mode_t mode)
        {
            for (const auto& entry : files::directory_iterator(folder.Path()))
                EXPECT_EQ(chmod(entry.path().c_str(), mode), 0);
            EXPECT_EQ(chmod(folder.Path().c_str(), mode), 0);
        };
        const Bell ready;
        const Bell told;
        const Bell mended;
        const Child child(
            [&]
            {
                constexpr uid_t nobody = 65534;
                if (!ready.Await() || (geteuid() == 0 && setresuid(nobody, nobody, nobody) != 0))
                    return false;
                const Store store(path);
                const bool refused = store.Names() == names &&
                                     store.Refusal("DELETE FROM raid_plugin") ==
                                         "attempt to write a readonly database (" + path + ")" &&
                                     store.Names() == names;
                return told.Ring() && mended.Await() && refused &&
                       store.Refusal("DELETE FROM raid_plugin").empty();
            });
        const Outsider writer(inUse ? path : ":memory:");
        if (inUse)
            writer.Do("INSERT INTO raid_plugin (plg_pluginName) VALUES('two')");
        allow(0555);
        EXPECT_TRUE(ready.Ring());
        EXPECT_TRUE(told.Await());
        allow(0777);
        EXPECT_TRUE(mended.Ring());
        EXPECT_TRUE(child.Succeeded());
    }
}

TEST(File, LockedByAnotherProgram)
{
    const TestFolder folder;
    const std::string path = folder.File("tarnis.db");
    const Store store(path);
    const Outsider outsider(path);
    const auto addUnderShortLock = [&](const char* name)
    {
        outsider.Do("BEGIN EXCLUSIVE");
        const std::jthread release(
            [&outsider]
            {
                std::this_thread::sleep_for(Milliseconds(300));
                outsider.Do("COMMIT");
            });
        store.Add(name);
    };
    store.Add("before");
    addUnderShortLock("waited for");
    outsider.Do("BEGIN EXCLUSIVE");
    const std::pair<int, int> waits[] = {{1900, 4000}, {0, 500}, {0, 500}};
    for (const auto& [least, most] : waits)
    {
        const auto begin = Clock::now();
        EXPECT_EQ(store.Refusal("DELETE FROM raid_plugin"), "database is locked (" + path + ")");
        EXPECT_EQ(store.Names().size(), 2u) << "reading goes on";
        const auto time = Clock::now() - begin;
        EXPECT_TRUE(time >= Milliseconds(least) && time < Milliseconds(most)) << time.count();
    }
    outsider.Do("COMMIT");
    store.Add("after");
    addUnderShortLock("patient again");
}

TEST(Storage, IsOneConnectionForAllThreads)
{
    const TestFolder folder;
    const Store keeper(folder.File("tarnis.db"));
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back(
            [thread]
            {
                const auto storage = DatabaseORM::getDatabasePointer();
                for (int row = 0; row < 50; ++row)
                {
                    const std::string name = Quoted('"', std::to_string(100 * thread + row));
                    storage->dao->query("INSERT INTO raid_plugin (plg_pluginName) VALUES(" + name +
                                        ")");
                    EXPECT_EQ(Quoted('"', storage->dao
                                              ->query("SELECT plugin FROM plugins WHERE "
                                                      "plugin = " +
                                                      name)
                                              .at(0)),
                              name);
                }
            });
    threads.clear();
    EXPECT_EQ(keeper.Names().size(), 200u);
    const auto one = DatabaseORM::getDatabasePointer();
    const auto other = DatabaseORM::getDatabasePointer();
    EXPECT_NE(one, other);
    EXPECT_EQ(one->dao, other->dao);
}

} // namespace
