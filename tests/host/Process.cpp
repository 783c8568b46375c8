#include "tests/host/Process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <future>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// @param reader  receives the end to read from, if there is one
int OpenStdout(Stdout kind, int& reader, unsigned short columns = 80)
{
    if (kind == Stdout::Full)
        return ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (kind == Stdout::Limited)
        return ::open(testFolder.Write("limited", "").c_str(), O_WRONLY | O_CLOEXEC);
    int ends[2];
    const winsize size{25, columns, 0, 0};
    if (kind == Stdout::Terminal)
        EXPECT_EQ(::openpty(&ends[0], &ends[1], nullptr, nullptr, &size), 0);
    else
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    if (kind == Stdout::Closed)
        ::close(std::exchange(ends[0], -1));
    if (kind == Stdout::Leaving)
        ::fcntl(ends[1], F_SETPIPE_SZ, 4096);
    reader = ends[0];
    return ends[1];
}

std::string Read(int source, Stdout kind)
{
    std::string text;
    char buffer[4096];
    const std::size_t size = kind == Stdout::Leaving ? 8 : sizeof buffer;
    for (ssize_t got = 0; (got = ::read(source, buffer, size)) > 0;)
    {
        text.append(buffer, static_cast<std::size_t>(got));
        if (kind == Stdout::Leaving)
            break;
    }
    ::close(source);
    return text;
}

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result(texts.size() + 1);
    std::transform(texts.begin(), texts.end(), result.begin(),
                   [](auto& text) { return text.data(); });
    return result;
}

} // namespace

pid_t StartTarnisctl(const Arguments& arguments, const Environment& environment, int out, int err,
                     rlim_t fileSize, rlim_t memory)
{
    Arguments words{TARNIS_BIN_DIR "/tarnisctl"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment)
        variables.push_back(name + "=" + value); // before the others, so that they hold
    variables.insert(variables.end(), {"PATH=/usr/bin:/bin", "TERM=xterm", "LC_ALL=C.UTF-8",
                                       "TARNIS_CONFIG_DIR=" + testFolder.Path(),
                                       "TARNIS_DATABASE=" + testFolder.File("rows.db")});
    const std::vector<char*> argv = Pointers(words);
    const std::vector<char*> envp = Pointers(variables);
    const pid_t child = ::fork();
    if (child != 0)
        return child;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) // whatever this program ignores
        ::signal(signal, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(err, STDERR_FILENO);
    const rlimit limits[]{{fileSize, fileSize}, {memory, memory}};
    ::setrlimit(RLIMIT_FSIZE, &limits[0]);
    ::setrlimit(RLIMIT_AS, &limits[1]);
    if (::chdir(testFolder.Path().c_str()) == 0)
        ::execve(argv[0], argv.data(), envp.data());
    ::_exit(127);
}

int WaitFor(pid_t process)
{
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Outcome RunTarnisctl(const Arguments& arguments, const Environment& environment, Stdout kind,
                     rlim_t memory, unsigned short columns)
{
    int reader = -1;
    int errorReader = -1;
    const int out = OpenStdout(kind, reader, columns);
    const int err = OpenStdout(Stdout::Pipe, errorReader);
    const pid_t child = StartTarnisctl(arguments, environment, out, err,
                                       kind == Stdout::Limited ? 0 : RLIM_INFINITY, memory);
    ::close(out);
    ::close(err);
    // Both are read as they come, so that neither can fill up and stop the process.
    auto errors = std::async(std::launch::async, Read, errorReader, Stdout::Pipe);
    const std::string text = Read(reader, kind);
    return {WaitFor(child), text, errors.get()};
}

void ExpectComplaint(const Outcome& outcome, int exitCode, const std::string& said)
{
    EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(outcome.err.starts_with("tarnisctl: ") && CountLines(outcome.err) == 1)
        << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, said)) << outcome.err << "not " << said;
}

bool Holds(const std::string& text, const std::string& piece)
{
    return text.find(piece) != std::string::npos;
}

std::size_t CountLines(const std::string& text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}
