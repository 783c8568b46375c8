// Watching and setting, with the real plug-in and a machine file that changes under it.
#include "tests/host/Process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using nlohmann::json;

/// Machine of these disks, put in the place of the last one in one step.
std::string PutMachine(const std::vector<int>& disks)
{
    json machine = json::parse(R"({"version": 1, "disks": [], "devices": [
        {"id": "C", "service": "storahci", "children": []}]})");
    for (const int number : disks)
    {
        const std::string text = std::to_string(number);
        machine["devices"][0]["children"].push_back(
            {{"id", "D" + text}, {"service", "disk"}, {"disks", {number}}});
        machine["disks"].push_back(
            {{"number", number}, {"identify", {{"model", "T\x1b DISK"}, {"serial", "S" + text}}}});
    }
    const std::string file = TestFolder() + "/watched.json";
    std::filesystem::rename(WriteFile("watched.new", machine.dump()), file);
    return file;
}

/// A tarnisctl that runs, its two outputs in one.
class Running
{
  public:
    explicit Running(const std::vector<std::string>& arguments)
    {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        m_Child = ::fork();
        if (m_Child == 0)
        {
            ::dup2(ends[1], STDOUT_FILENO);
            ::dup2(ends[1], STDERR_FILENO);
            ::close(ends[0]);
            ::close(ends[1]);
            ::setenv("TARNIS_CONFIG_DIR", TestFolder().c_str(), 1);
            std::vector<std::string> words{TARNIS_BIN_DIR "/tarnisctl"};
            words.insert(words.end(), arguments.begin(), arguments.end());
            std::vector<char*> argv;
            for (std::string& word : words)
                argv.push_back(word.data());
            argv.push_back(nullptr);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(ends[1]);
        m_Output = ends[0];
    }
    ~Running()
    {
        ::close(m_Output);
        if (m_Child > 0)
        {
            ::kill(m_Child, SIGKILL);
            ::waitpid(m_Child, nullptr, 0);
        }
    }

    /// The next line that holds the text; what it skips must not speak of a disk.
    std::string LineWith(const std::string& text)
    {
        for (;;)
        {
            const auto end = m_Read.find('\n');
            if (end == std::string::npos)
            {
                pollfd wait{m_Output, POLLIN, 0};
                char buffer[512];
                const ssize_t got =
                    ::poll(&wait, 1, 60000) > 0 ? ::read(m_Output, buffer, sizeof buffer) : 0;
                if (got <= 0)
                    return "no line with " + text + ", only " + m_Read;
                m_Read.append(buffer, static_cast<std::size_t>(got));
                continue;
            }
            const std::string line = m_Read.substr(0, end);
            m_Read.erase(0, end + 1);
            if (line.find(text) != std::string::npos)
                return line;
            EXPECT_EQ(line.find("DISK"), std::string::npos) << line;
        }
    }

    int End(int signal)
    {
        ::kill(m_Child, signal);
        int status = 0;
        ::waitpid(std::exchange(m_Child, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    pid_t m_Child = -1;
    int m_Output = -1;
    std::string m_Read;
};

} // namespace

TEST(WatchVerb, PrintsDrivesThatComeAndGo)
{
    WriteFile("tarnis.ini", "PollInterval=2\n");
    const std::string machine = PutMachine({0, 1});
    {
        Running watch({"watch", "--machine", machine});
        watch.LineWith("watching 2 drives");
        PutMachine({0, 1, 7});
        EXPECT_NE(watch.LineWith("drive came").find(": disk7  T\\x1b DISK (7), serial S7"),
                  std::string::npos);
        PutMachine({0, 7});
        EXPECT_NE(watch.LineWith("drive went").find(": disk1 "), std::string::npos);
        EXPECT_EQ(watch.End(SIGINT), 0);
    }
    Running watch({"watch", "--json", "--machine", machine});
    watch.LineWith("adapter count is 1");
    PutMachine({7});
    const json went = json::parse(watch.LineWith("{"));
    EXPECT_EQ(went["event"], 10920);
    EXPECT_EQ(went["name"], "PNPADD_EX");
    EXPECT_EQ(went["severity"], 2);
    EXPECT_EQ(went["object"], "0x0131000000000002");
    EXPECT_EQ(went["source"], "T\x1b DISK (0)");
    EXPECT_EQ(went["placeHolders"],
              json({"Windows Advanced Host Controller Interface (0)", "0", "", "S0"}));
    EXPECT_EQ(went["present"], false);
    EXPECT_GT(went["time"], 1600000000000);
    PutMachine({0, 7});
    const json came = json::parse(watch.LineWith("{"));
    EXPECT_EQ(came["object"], "0x0131000000000004");
    EXPECT_EQ(came["present"], true);
    EXPECT_EQ(watch.End(SIGTERM), 0);
}

TEST(WatchVerb, EndsByItselfAndWhenNobodyReads)
{
    WriteFile("tarnis.ini", "PollInterval=2\n");
    const std::string machine = PutMachine({0});
    const Outcome timed = RunTarnisctl({"watch", "--for", "1", "--json", "--machine", machine});
    EXPECT_EQ(timed.exitCode, 0);
    EXPECT_EQ(timed.out, "");
    for (const char* seconds : {"0", "-1", "soon", "4294967296", ""})
        EXPECT_EQ(RunTarnisctl({"watch", "--for", seconds, "--machine", machine}).exitCode, 1);
}

TEST(SetVerb, KeepsWhatItSets)
{
    const std::string machine = PutMachine({0});
    WriteFile("tarnis.ini", "# mine\nPollInterval=40\n");
    const struct
    {
        std::vector<std::string> words;
        int exitCode;
        const char* out;
        const char* err;
    } cases[] = {
        {{"plugin", "POLL_INTERVAL", "5"}, 0, "5 s\n", ""},
        {{"plugin", "poll-interval", "255"}, 0, "255 s\n", ""},
        {{"plugin", "POLL_INTERVAL", "256"}, 1, "", "from 2 to 255, not '256'"},
        {{"plugin", "POLL_INTERVAL", "5s"}, 1, "", "from 2 to 255"},
        {{"plugin", "NAME", "x"}, 3, "", "INVALID_PROPERTY (20004)"},
        {{"disk0", "POLL_INTERVAL", "5"}, 3, "", "INVALID_PROPERTY (20004)"},
        {{"disk9", "NAME", "x"}, 1, "", "there is no disk9"},
        {{"0x99", "NAME", "x"}, 3, "", "INVALID_OBJECT_ID (20008)"},
        {{"plugin", "POLL_INTERVAL"}, 1, "", "VALUE"},
    };
    for (const auto& c : cases)
    {
        std::vector<std::string> arguments{"--machine", machine, "set"};
        arguments.insert(arguments.end(), c.words.begin(), c.words.end());
        const Outcome outcome = RunTarnisctl(arguments);
        EXPECT_EQ(outcome.exitCode, c.exitCode) << outcome.err;
        EXPECT_EQ(outcome.out, c.out);
        EXPECT_NE(outcome.err.find(c.err), std::string::npos) << outcome.err;
    }
    EXPECT_EQ(ReadFile(TestFolder() + "/tarnis.ini"), "# mine\nPollInterval=255\n");
    const Outcome unwritable = RunTarnisctl({"--machine", machine, "--config-dir", "/dev/null/no",
                                             "set", "plugin", "POLL_INTERVAL", "5"});
    EXPECT_EQ(unwritable.exitCode, 3);
    EXPECT_NE(unwritable.err.find("WRITE_ACCESS_DENIED (20018)"), std::string::npos);
}
