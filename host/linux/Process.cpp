#include "host/Process.h"

#include "host/Failure.h"
#include "host/linux/CommandWords.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <mutex>
#include <set>
#include <string_view>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using Host::Variables;

bool IsProgram(const std::string& file)
{
    struct stat facts = {};
    return ::stat(file.c_str(), &facts) == 0 && S_ISREG(facts.st_mode) &&
           ::access(file.c_str(), X_OK) == 0;
}

/// Whether the system finds it: by its name alone along PATH.
bool IsFound(const std::string& program)
{
    if (program.find('/') != std::string::npos)
        return IsProgram(program);
    const char* path = std::getenv("PATH");
    for (std::string_view rest = path != nullptr ? path : "/bin:/usr/bin";;)
    {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        if (IsProgram(std::string(rest.substr(0, end)) + '/' + program))
            return true;
        if (end == rest.size())
            return false;
        rest.remove_prefix(end + 1);
    }
}

std::vector<std::string> Environment(const Variables& variables)
{
    std::vector<std::string> all;
    std::set<std::string> names;
    for (const auto& [name, value] : variables)
    {
        names.insert(name);
        all.push_back(name + '=' + value);
    }
    for (char** variable = ::environ; *variable != nullptr; ++variable)
    {
        const std::string text = *variable;
        if (!names.contains(text.substr(0, text.find('='))))
            all.push_back(text);
    }
    return all;
}

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// How a new process begins: in a group of its own, with the signals that this program has changed
/// as they usually are.
class Beginning
{
  public:
    Beginning()
    {
        ::posix_spawnattr_init(&m_Attributes);
        ::posix_spawn_file_actions_init(&m_Files);
        sigset_t signals;
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&m_Attributes, &signals);
        sigaddset(&signals, SIGPIPE);
        sigaddset(&signals, SIGXFSZ);
        ::posix_spawnattr_setsigdefault(&m_Attributes, &signals);
        ::posix_spawnattr_setpgroup(&m_Attributes, 0);
        ::posix_spawnattr_setflags(&m_Attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK |
                                                      POSIX_SPAWN_SETSIGDEF);
        ::posix_spawn_file_actions_addopen(&m_Files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    ~Beginning()
    {
        ::posix_spawn_file_actions_destroy(&m_Files);
        ::posix_spawnattr_destroy(&m_Attributes);
    }
    Beginning(const Beginning&) = delete;
    Beginning& operator=(const Beginning&) = delete;

    /// @return 0, or an error number
    int Spawn(std::vector<std::string> words, const Variables& variables, pid_t& process) const
    {
        std::vector<std::string> environment = Environment(variables);
        return ::posix_spawnp(&process, words.front().c_str(), &m_Files, &m_Attributes,
                              Pointers(words).data(), Pointers(environment).data());
    }

  private:
    posix_spawnattr_t m_Attributes;
    posix_spawn_file_actions_t m_Files;
};

Host::ProcessEnd EndOf(int status)
{
    if (WIFSIGNALED(status))
        return {false, "signal " + std::to_string(WTERMSIG(status))};
    const int code = WEXITSTATUS(status);
    return {code == 0, "exit code " + std::to_string(code)};
}

} // namespace

namespace Host
{

struct Process::State
{
    pid_t process = -1;
    std::mutex lock;
    std::optional<int> status; ///< until there is one, the number belongs to the process
    std::thread waiter;

    void Wait(const std::function<void()>& onEnd)
    {
        siginfo_t info;
        while (::waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT) != 0 &&
               errno == EINTR)
        {
        }
        {
            const std::lock_guard guard(lock);
            int result = 0;
            ::waitpid(process, &result, 0);
            status = result;
        }
        onEnd();
    }

    void Kill()
    {
        const std::lock_guard guard(lock);
        if (status)
            return;
        ::kill(-process, SIGKILL);
        ::kill(process, SIGKILL); // it may have left its group
    }
};

void Process::Check(const std::string& command)
{
    const std::string program = CommandWords(command).front();
    if (!IsFound(program))
        throw UsageFailure("--exec '" + command + "' cannot be run: there is no program " +
                           program);
}

Process::Process(const std::string& command, const Variables& variables,
                 std::function<void()> onEnd)
    : m_State(std::make_unique<State>())
{
    if (const int error = Beginning().Spawn(CommandWords(command), variables, m_State->process);
        error != 0)
        throw Failure(EXIT_PLUGIN, std::strerror(error));
    try
    {
        m_State->waiter =
            std::thread([state = m_State.get(), onEnd = std::move(onEnd)] { state->Wait(onEnd); });
    }
    catch (const std::system_error&)
    {
        m_State->Kill();
        ::waitpid(m_State->process, nullptr, 0);
        throw Failure(EXIT_PLUGIN, "the system gives no thread");
    }
}

Process::~Process()
{
    m_State->waiter.join();
}

std::optional<ProcessEnd> Process::End() const
{
    const std::lock_guard guard(m_State->lock);
    return m_State->status ? std::optional(EndOf(*m_State->status)) : std::nullopt;
}

void Process::Kill()
{
    m_State->Kill();
}

} // namespace Host
