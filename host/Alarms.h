// Runs the user's command when the trouble of a drive starts or ends.
#pragma once

#include "host/AlarmBook.h"
#include "host/AlarmOptions.h"
#include "host/Process.h"
#include "host/StateFile.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Host
{

/// Works on a thread of its own, so that no command, and no slow disk, ever holds up who calls.
/// What was told is kept in tarnisctl-watch-....json. Failures of the command are told on standard
/// error, as far as somebody reads it.
class Alarms
{
  public:
    /// @param scope  what the user has chosen the drives by. What was told is kept for each command
    ///               and scope of its own.
    Alarms(const AlarmOptions& options, const std::vector<std::string>& scope,
           AlarmBook::Filter isChosen);

    /// Starts no further command, and waits for those that run.
    ~Alarms();
    Alarms(const Alarms&) = delete;
    Alarms& operator=(const Alarms&) = delete;

    /// The drives as they are now. Begins the work when called first. @throws Failure
    void Look(const std::vector<KnownDrive>& drives);

  private:
    using Clock = std::chrono::steady_clock;

    struct Run
    {
        Alarm alarm;
        Clock::time_point deadline;
        bool isKilled = false;
        std::unique_ptr<Process> process;
    };

    void Work();
    void Step(bool canStart);
    /// Sleeps until there is something to do. @return what Look brought, if anything
    std::optional<std::vector<KnownDrive>> Wait();
    void Load();
    void Save();
    void StartDue();
    void Start(const Alarm& alarm);
    void EndRuns();
    void Report(const Alarm& alarm, const std::string& failure);
    void PrintMessages();
    void Wake();

    const AlarmOptions m_Options;
    const StateFile m_File;

    std::mutex m_Lock;
    std::condition_variable m_Wake;
    bool m_IsWoken = false;
    bool m_Ends = false;
    std::optional<std::vector<KnownDrive>> m_Drives;

    // The thread's own:
    AlarmBook m_Book;
    std::deque<Alarm> m_Waiting;
    std::vector<Run> m_Runs;
    std::string m_FileTrouble; ///< that was told last
    std::string m_Saved;       ///< what the file holds
    std::deque<std::string> m_Messages;

    std::thread m_Thread;
};

} // namespace Host
