#include "tests/soak/NeighbourProcess.h"

#include "tests/support/OtherProgram.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <poll.h>
#include <random>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;

namespace Support
{
namespace
{

constexpr unsigned ChecksEvery = 200;
constexpr auto LongLocksEvery = 60s;
constexpr auto LongLock = 2500ms; // the plug-in waits for 2 s

void Demand(const std::vector<std::string>& came, const std::string& expected)
{
    if (came != std::vector<std::string>{expected})
        throw std::runtime_error("expected " + expected + ", came " +
                                 (came.empty() ? "nothing" : came[0]));
}

/// What the neighbour does over and over.
class Neighbour
{
  public:
    explicit Neighbour(const std::string& database) : m_File(database)
    {
        m_File.Run("INSERT INTO raid_pd (pd_hostName, pd_globalAdapterNumber, pd_deviceNumber, "
                   "pd_serialNumber) VALUES ('elsewhere', 1, 1, '0')");
    }

    void Step()
    {
        const std::string last = std::to_string(m_Step++);
        Demand(m_File.Run("SELECT serial FROM drives WHERE host = 'elsewhere'"), last);
        Demand(m_File.Run("SELECT count(*) FROM partitions WHERE drive_unique_id NOT IN "
                          "(SELECT unique_id FROM drives)"),
               "0");
        m_File.Run("BEGIN IMMEDIATE");
        m_File.Run("UPDATE raid_pd SET pd_serialNumber = '" + std::to_string(m_Step) +
                   "' WHERE pd_hostName = 'elsewhere'");
        const bool isLong = std::chrono::steady_clock::now() > m_LongLock;
        if (isLong)
            m_LongLock += LongLocksEvery;
        std::this_thread::sleep_for(isLong ? LongLock : std::chrono::milliseconds(m_Random() % 3));
        m_File.Run("COMMIT");
        if (m_Step % ChecksEvery == 0)
            Demand(m_File.Run("PRAGMA integrity_check"), "ok");
        std::this_thread::sleep_for(m_Random() % 20 * 1ms);
    }

  private:
    OtherProgram m_File;
    std::mt19937 m_Random;
    unsigned m_Step = 0;
    std::chrono::steady_clock::time_point m_LongLock =
        std::chrono::steady_clock::now() + LongLocksEvery;
};

/// Answers the other side at each word of it, and rests between the first and the second of two.
/// @return false: the other side is gone
bool Obey()
{
    pollfd line = {STDIN_FILENO, POLLIN, 0};
    char word = 0;
    if (poll(&line, 1, 0) <= 0)
        return true;
    return read(STDIN_FILENO, &word, 1) == 1 && write(STDIN_FILENO, &word, 1) == 1 &&
           read(STDIN_FILENO, &word, 1) == 1;
}

} // namespace

NeighbourProcess::NeighbourProcess(const std::string& database)
{
    int ends[2] = {};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error("no socket");
    m_Line = ends[0];
    m_Process = fork();
    if (m_Process == 0)
    {
        dup2(ends[1], STDIN_FILENO);
        setenv(Task, database.c_str(), 1);
        execl("/proc/self/exe", "neighbour", nullptr);
        _exit(127);
    }
    close(ends[1]);
}

NeighbourProcess::~NeighbourProcess()
{
    close(m_Line);
    waitpid(m_Process, nullptr, 0);
}

bool NeighbourProcess::Pause()
{
    char word = 'p';
    return send(m_Line, &word, 1, MSG_NOSIGNAL) == 1 && read(m_Line, &word, 1) == 1;
}

void NeighbourProcess::GoOn()
{
    const char word = 'g';
    send(m_Line, &word, 1, MSG_NOSIGNAL);
}

int NeighbourProcess::Run(const std::string& database)
try
{
    Neighbour neighbour(database);
    while (Obey())
        neighbour.Step();
    return 0;
}
catch (const std::exception& error)
{
    std::cerr << "the second process on the database: " << error.what() << '\n';
    return 1;
}

} // namespace Support
