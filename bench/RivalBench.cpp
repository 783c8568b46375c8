// What watching disks and one look at them costs the computer, for tarnisctl and for other
// programs. Takes paths of disks; for a computer that does nothing else, as root. A line of figures
// for each.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace
{

using Words = std::vector<std::string>;

constexpr int Rounds = 5;
constexpr unsigned Interval = 30; ///< seconds between two cycles
constexpr unsigned WarmUp = 10;   ///< cycles
constexpr unsigned Cycles = 40;   ///< that are measured

[[noreturn]] void Fail(const std::string& what)
{
    std::fprintf(stderr, "rival_bench: %s\n", what.c_str());
    std::exit(1);
}

/// Its output goes nowhere.
pid_t Spawn(const Words& command)
{
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0)
        return child;
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

double Microseconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

struct Cost
{
    double processor = 0; ///< microseconds
    double whole = 0;     ///< microseconds
    long peak = 0;        ///< kB of the largest process
};

Cost CostOf(const std::vector<Words>& commands)
{
    using namespace std::chrono;
    Cost cost;
    const auto start = steady_clock::now();
    for (const Words& command : commands)
    {
        const pid_t child = Spawn(command);
        int status = 0;
        rusage usage = {};
        if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
            WEXITSTATUS(status) != 0)
            Fail(command[0] + " does not do its work on " + command.back());
        cost.processor += Microseconds(usage.ru_utime) + Microseconds(usage.ru_stime);
        cost.peak = std::max(cost.peak, usage.ru_maxrss);
    }
    cost.whole = duration<double, std::micro>(steady_clock::now() - start).count();
    return cost;
}

/// One look at all disks: a command for each, or one for all. Medians of some rounds.
void Look(const char* name, const std::vector<Words>& commands)
{
    std::vector<Cost> costs;
    for (int round = 0; round < Rounds; ++round)
        costs.push_back(CostOf(commands));
    std::ranges::sort(costs, {}, &Cost::processor);
    const Cost& median = costs[costs.size() / 2];
    std::printf("look %s: %.0f us of processor, %.0f us, peak %ld kB\n", name, median.processor,
                median.whole, median.peak);
}

struct Sample
{
    double processor = 0; ///< microseconds
    std::uint64_t wakeups = 0;
    std::uint64_t written = 0;   ///< bytes
    std::uint64_t anonymous = 0; ///< kB
    std::uint64_t resident = 0;  ///< kB
};

/// A number behind a word in a file of /proc.
std::uint64_t NumberIn(const std::string& file, const std::string& word)
{
    std::ifstream in(file);
    std::string read;
    std::uint64_t number = 0;
    while (in >> read && read != word)
        continue;
    if (!(in >> number))
        Fail(file + " holds no " + word);
    return number;
}

Sample SampleOf(pid_t process)
{
    const std::string folder = "/proc/" + std::to_string(process);
    Sample sample;
    for (const auto& task : std::filesystem::directory_iterator(folder + "/task"))
    {
        const std::string path = task.path();
        double nanoseconds = 0;
        if (!(std::ifstream(path + "/schedstat") >> nanoseconds))
            Fail(path + "/schedstat holds no time");
        sample.processor += nanoseconds / 1000;
        sample.wakeups += NumberIn(path + "/status", "voluntary_ctxt_switches:");
    }
    sample.written = NumberIn(folder + "/io", "write_bytes:");
    sample.anonymous = NumberIn(folder + "/status", "RssAnon:");
    sample.resident = NumberIn(folder + "/status", "VmRSS:");
    return sample;
}

/// A program that looks at all disks every 30 seconds while nothing happens to them.
void Watch(const char* name, const Words& command)
{
    const pid_t child = Spawn(command);
    sleep(Interval * WarmUp + Interval / 2);
    const Sample first = SampleOf(child);
    sleep(Interval * Cycles);
    const Sample last = SampleOf(child);
    if (waitpid(child, nullptr, WNOHANG) != 0)
        Fail(command[0] + " ended");
    kill(child, SIGTERM);
    waitpid(child, nullptr, 0);
    std::printf("watch %s: %.0f us of processor, %.1f wake-ups, %.0f bytes written a cycle, "
                "RssAnon %llu kB, VmRSS %llu kB\n",
                name, (last.processor - first.processor) / Cycles,
                static_cast<double>(last.wakeups - first.wakeups) / Cycles,
                static_cast<double>(last.written - first.written) / Cycles,
                static_cast<unsigned long long>(first.anonymous),
                static_cast<unsigned long long>(first.resident));
}

std::vector<Words> OfEach(const Words& disks, const Words& command)
{
    std::vector<Words> commands(disks.size(), command);
    for (std::size_t i = 0; i < disks.size(); ++i)
        commands[i].push_back(disks[i]);
    return commands;
}

std::string SmartdConfiguration(const Words& disks)
{
    const std::string path = std::filesystem::temp_directory_path() / "smartd.conf";
    std::ofstream file(path);
    for (const std::string& disk : disks)
        file << disk << " -d sat -a -n standby\n"; // as Debian has it, but for the mail
    return path;
}

} // namespace

int main(int count, char** arguments)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const Words disks(arguments + 1, arguments + count);
    Look("tarnisctl show --json", {{"tarnisctl", "show", "--json"}});
    Look("smartctl -j -iA of each", OfEach(disks, {"smartctl", "-d", "sat", "-j", "-iA"}));
    Look("smartctl -iA of each", OfEach(disks, {"smartctl", "-d", "sat", "-iA"}));
    Look("skdump of each", OfEach(disks, {"skdump"}));
    Watch("tarnisctl watch", {"tarnisctl", "watch"});
    Watch("smartd",
          {"smartd", "-n", "-i", std::to_string(Interval), "-c", SmartdConfiguration(disks)});
    return 0;
}
