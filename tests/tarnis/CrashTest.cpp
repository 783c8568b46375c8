// Processes that are killed while they write rows, processes that write at once, and a file that
// another program has locked.
#include "tests/support/MachineBuilder.h"
#include "tests/support/RecordingDatabase.h"
#include "tests/support/SteppedPlugin.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <random>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Support;
using namespace std::chrono_literals;

namespace
{

using Texts = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

/// Three drives of which one goes, one comes, and one has partitions that come, go and change.
nlohmann::json Machine(bool after)
{
    nlohmann::json partitioned = Disk(1);
    partitioned["partitions"] = {{{"name", "stay"}, {"bytes", after ? 2 : 1}},
                                 {{"name", after ? "new" : "gone"}, {"bytes", 1}}};
    return MachineWith({Disk(0), partitioned, Disk(after ? 3 : 2)});
}

// What a child does: "start" a plug-in on the first machine and run a pass on the second,
// "recover": both on the second, "churn": pass after pass on one and the other, "share": pass after
// pass on the second for some seconds. It ends as by kill -9 before the statement that KILL
// numbers, or behind its last one.
int Child(const std::string& task)
{
    std::string message;
    const auto machine = Platform::SimulatedMachine::FromText(
        Machine(task == "recover" || task == "share").dump(), "/", message);
    Platform::SetCurrentMachine(machine);
    RecordingDatabase& database = RecordingDatabase::Get();
    unsigned number = 0;
    const auto rule = [&number](const std::string&)
    {
        if (++number == Amount("KILL", 0))
            std::raise(SIGKILL);
    };
    database.SetRule(rule);
    SteppedPlugin plugin;
    if (!plugin.Start())
        return 2;
    std::erase_if(database.refused, // the rows that another process has made
                  [](auto& text) { return text.find("UNIQUE") != std::string::npos; });
    const auto end = Clock::now() + 1s * (task == "share" ? Amount("TARNIS_TEST_SECONDS", 3) : 0);
    for (int pass = 0; pass == 0 || task == "churn" || Clock::now() < end; ++pass)
        if (!machine->Replace(Machine(task != "churn" || pass % 2 == 0).dump(), message) ||
            !plugin.Pass())
            return 3;
    rule("");
    plugin.Stop();
    for (const std::string& refusal : database.refused)
        std::cerr << refusal << '\n';
    return database.refused.empty() ? 0 : 4;
}

} // namespace

class Crash : public PluginTest
{
  protected:
    std::string File(unsigned number = 0) const
    {
        return m_Folder.File(std::to_string(number) + ".db");
    }

    void Remove(unsigned number) const
    {
        for (const char* end : {"", "-wal", "-shm"})
            std::filesystem::remove(File(number) + end);
    }

    pid_t Spawn(const char* task, unsigned file = 0, unsigned kill = 0) const
    {
        const pid_t child = fork();
        if (child != 0)
            return child;
        setenv("TARNIS_DATABASE", File(file).c_str(), 1);
        setenv("TARNIS_TEST_CHILD", task, 1);
        setenv("KILL", std::to_string(kill).c_str(), 1);
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        execl("/proc/self/exe", "crash_tests", nullptr);
        _exit(127);
    }

    /// @return "exit 0", "signal 9"
    static std::string End(pid_t child)
    {
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                   : "exit " + std::to_string(WEXITSTATUS(status));
    }

    /// What was left in the first files is sound, and the next process puts it right: it has the
    /// rows of a file that saw nothing but the second machine.
    void ExpectSoundAndRecover(unsigned files) const
    {
        std::vector<pid_t> children = {Spawn("recover", files)};
        for (unsigned i = 0; i < files; children.push_back(Spawn("recover", i++)))
            if (std::filesystem::exists(File(i)))
            {
                OtherProgram file(File(i));
                EXPECT_EQ(file.Run("PRAGMA integrity_check"), Texts{"ok"});
                EXPECT_EQ(file.Run("PRAGMA foreign_key_check"), Texts());
            }
        for (const pid_t child : children)
            EXPECT_EQ(End(child), "exit 0");
        const Texts rightRows = AllRows(File(files));
        EXPECT_EQ(rightRows.size(), 1U + 1 + 3 + 4);
        for (unsigned i = 0; i < files; ++i)
            EXPECT_EQ(AllRows(File(i)), rightRows) << i;
        Remove(files);
    }
};

TEST_F(Crash, KilledAtEveryStatement)
{
    unsigned killed = 0;
    for (bool more = true; more && !HasFailure();)
    {
        SCOPED_TRACE(killed);
        std::vector<pid_t> children;
        for (unsigned i = 0; i < 8; ++i)
        {
            Remove(i);
            children.push_back(Spawn("start", i, killed + i + 1));
        }
        for (const pid_t child : children)
        {
            const std::string end = End(child);
            more = end == "signal 9";
            EXPECT_TRUE(more || end == "exit 0") << end;
            killed += more;
        }
        ExpectSoundAndRecover(8);
    }
    EXPECT_GT(killed, 40U); // every row is written with two statements
}

TEST_F(Crash, KilledAtAnyMoment)
{
    std::mt19937 random(std::random_device{}());
    const unsigned kills = Amount("TARNIS_TEST_KILLS", 20);
    for (unsigned kill = 0; kill < kills && !HasFailure();)
    {
        std::set<std::chrono::microseconds> moments;
        while (moments.size() < 5)
            moments.emplace(random() % 300000);
        std::vector<pid_t> children;
        for (unsigned i = 0; i < moments.size(); ++i)
        {
            if (kill++ % 4 == 0)
                Remove(i);
            children.push_back(Spawn("churn", i));
        }
        const auto start = Clock::now();
        std::string told;
        for (const auto moment : moments)
        {
            std::this_thread::sleep_until(start + moment); // the moment itself is what is tried
            ::kill(children.front(), SIGKILL);
            EXPECT_EQ(End(children.front()), "signal 9");
            children.erase(children.begin());
            told += std::to_string(moment.count()) + " us ";
        }
        SCOPED_TRACE(told);
        ExpectSoundAndRecover(5);
    }
}

TEST_F(Crash, FourProcessesAtOnce)
{
    std::vector<pid_t> children(4);
    for (pid_t& child : children)
        child = Spawn("share");
    for (const pid_t child : children)
        EXPECT_EQ(End(child), "exit 0");
    ExpectSoundAndRecover(1);
}

TEST_F(Crash, LockedByAnother)
{
    std::string answers[2];
    Texts rows[2];
    for (const bool locked : {false, true})
    {
        const std::string file = File(locked);
        setenv("TARNIS_DATABASE", file.c_str(), 1);
        UseMachine(Machine(false));
        SteppedPlugin plugin;
        ASSERT_TRUE(plugin.Start());
        ASSERT_TRUE(plugin.Pass());
        const Texts before = AllRows(file);
        OtherProgram other(file);
        other.Run(locked ? "BEGIN EXCLUSIVE" : "BEGIN");
        UseMachine(Machine(true));
        const auto start = Clock::now();
        ASSERT_TRUE(plugin.Pass());
        EXPECT_LT(Clock::now() - start, 15s); // it gives up for a pass, not for each statement
        PI::COperation collect(PI::OP_GET_EVENTS);
        EXPECT_EQ(plugin.plugin.Command(PI::COMMAND_EXECUTE_OPERATION, PluginId, &collect), 0);
        answers[locked] = PictureText(plugin.plugin.Topology());
        EXPECT_EQ(collect.m_Events.size(), 2U);
        EXPECT_EQ(AllRows(file) == before, locked);
        other.Run("ROLLBACK");
        ASSERT_TRUE(plugin.Pass());
        rows[locked] = AllRows(file);
    }
    EXPECT_EQ(answers[0], answers[1]);
    EXPECT_EQ(rows[0], rows[1]);
}

int main(int count, char** arguments)
{
    if (const char* task = std::getenv("TARNIS_TEST_CHILD"))
        return Child(task);
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
