#include "tests/host/Process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

struct Ends
{
    int read = -1;
    int write = -1;
};

Ends MakePipe()
{
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    return {ends[0], ends[1]};
}

Ends MakeStdout(Stdout kind)
{
    Ends ends;
    if (kind == Stdout::Full)
        ends.write = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    else if (kind == Stdout::Limited)
        ends.write = ::open(WriteFile("limited", "").c_str(), O_WRONLY | O_CLOEXEC);
    else if (kind == Stdout::Terminal)
    {
        winsize size{25, 80, 0, 0};
        EXPECT_EQ(::openpty(&ends.read, &ends.write, nullptr, nullptr, &size), 0);
    }
    else
        ends = MakePipe();
    if (kind == Stdout::Closed)
        ::close(std::exchange(ends.read, -1));
    return ends;
}

// Both are read as they come, so that neither can fill up and stop the process.
void ReadAll(std::array<std::pair<int, std::string*>, 2> sources)
{
    for (;;)
    {
        std::array<pollfd, 2> waits{{{sources[0].first, POLLIN, 0}, {sources[1].first, POLLIN, 0}}};
        if (waits[0].fd < 0 && waits[1].fd < 0)
            return;
        ::poll(waits.data(), waits.size(), -1);
        for (std::size_t i = 0; i < waits.size(); ++i)
        {
            if (waits[i].revents == 0)
                continue;
            std::array<char, 4096> buffer{};
            const ssize_t got = ::read(waits[i].fd, buffer.data(), buffer.size());
            if (got > 0)
                sources[i].second->append(buffer.data(), static_cast<std::size_t>(got));
            else
                ::close(std::exchange(sources[i].first, -1));
        }
    }
}

} // namespace

Outcome RunTarnisctl(const std::vector<std::string>& arguments, const Environment& environment,
                     Stdout kind, std::size_t memory)
{
    std::vector<std::string> words{TARNIS_BIN_DIR "/tarnisctl"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables{"PATH=/usr/bin:/bin", "TERM=xterm",
                                       "TARNIS_CONFIG_DIR=" + TestFolder(),
                                       "TARNIS_DATABASE=" + TestFolder() + "/rows.db"};
    for (const auto& [name, value] : environment)
        variables.push_back(name + "=" + value);
    const auto pointers = [](std::vector<std::string>& texts)
    {
        std::vector<char*> result;
        for (std::string& text : texts)
            result.push_back(text.data());
        result.push_back(nullptr);
        return result;
    };
    std::vector<char*> argv = pointers(words);
    std::vector<char*> envp = pointers(variables);

    const Ends out = MakeStdout(kind);
    const Ends err = MakePipe();
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::dup2(out.write, STDOUT_FILENO);
        ::dup2(err.write, STDERR_FILENO);
        const rlimit none{0, 0};
        const rlimit some{memory, memory};
        if (kind == Stdout::Limited)
            ::setrlimit(RLIMIT_FSIZE, &none);
        if (memory != 0)
            ::setrlimit(RLIMIT_AS, &some);
        if (::chdir(TestFolder().c_str()) == 0)
            ::execve(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    ::close(out.write);
    ::close(err.write);
    Outcome outcome{};
    ReadAll({{{out.read, &outcome.out}, {err.read, &outcome.err}}});
    int status = 0;
    ::waitpid(child, &status, 0);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

const std::string& TestFolder()
{
    struct Folder
    {
        std::string path = "/tmp/tarnis-host-XXXXXX";
        Folder() { EXPECT_NE(::mkdtemp(path.data()), nullptr); }
        ~Folder()
        {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    };
    static const Folder folder;
    return folder.path;
}

std::string WriteFile(const std::string& name, const std::string& content)
{
    const std::string path = TestFolder() + "/" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::string ReadFile(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

std::size_t CountLines(const std::string& text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}
