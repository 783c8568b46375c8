#include "host/Alarms.h"

#include "contracts/zelKit/Time.h"
#include "host/AlarmText.h"
#include "host/Failure.h"
#include "host/Lists.h"
#include "host/Output.h"
#include "host/System.h"

#include <boost/crc.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <new>
#include <system_error>
#include <utility>

namespace Host
{

namespace
{

/// Commands that run at once; the others wait.
constexpr std::size_t mostRuns = 16;

/// Two watches with different commands do not know what the other has told.
std::string FileName(const std::string& command, const std::vector<std::string>& scope)
{
    const std::string text = command + '\n' + Joined(scope, "\n");
    boost::crc_32_type sum;
    sum.process_bytes(text.data(), text.size());
    char name[48];
    std::snprintf(name, sizeof name, "tarnisctl-watch-%08x.json",
                  static_cast<unsigned>(sum.checksum()));
    return name;
}

} // namespace

Alarms::Alarms(const AlarmOptions& options, const std::vector<std::string>& scope,
               AlarmBook::Filter isChosen)
    : m_Options(options), m_File(FileName(options.command, scope), "what was told before is told "
                                                                   "once more"),
      m_Book(options.remindSeconds, std::move(isChosen))
{
    if (!options.command.empty())
        Process::Check(options.command);
}

Alarms::~Alarms()
{
    if (!m_Thread.joinable())
        return;
    {
        const std::lock_guard guard(m_Lock);
        m_Ends = true;
    }
    Wake();
    m_Thread.join();
}

void Alarms::Look(const std::vector<KnownDrive>& drives)
{
    if (m_Options.command.empty())
        return;
    {
        const std::lock_guard guard(m_Lock);
        m_Drives = drives;
    }
    Wake();
    if (m_Thread.joinable())
        return;
    try
    {
        m_Thread = std::thread([this] { Work(); });
    }
    catch (const std::system_error&)
    {
        throw Failure(EXIT_PLUGIN, "--exec: the system gives no thread");
    }
}

void Alarms::Wake()
{
    const std::lock_guard guard(m_Lock);
    m_IsWoken = true;
    m_Wake.notify_one();
}

std::optional<std::vector<KnownDrive>> Alarms::Wait()
{
    auto deadline = Clock::time_point::max();
    for (const Run& run : m_Runs)
        if (!run.isKilled)
            deadline = std::min(deadline, run.deadline);
    std::unique_lock lock(m_Lock);
    const auto isWoken = [this] { return std::exchange(m_IsWoken, false); };
    if (deadline == Clock::time_point::max())
        m_Wake.wait(lock, isWoken);
    else
        m_Wake.wait_until(lock, deadline, isWoken);
    return std::exchange(m_Drives, std::nullopt);
}

void Alarms::Work()
{
    bool hasLoaded = false;
    for (bool ends = false; !ends || !m_Runs.empty();)
        try
        {
            if (!std::exchange(hasLoaded, true))
                Load();
            Step(!ends);
            const std::lock_guard guard(m_Lock);
            ends = m_Ends;
        }
        catch (const std::bad_alloc&)
        {
            PrintError("tarnisctl: --exec: memory ran out");
        }
}

void Alarms::Step(bool canStart)
{
    if (const auto drives = Wait())
        m_Book.Look(*drives);
    EndRuns();
    if (canStart)
        StartDue();
    Save();
    PrintMessages();
}

void Alarms::Load()
{
    try
    {
        if (const auto state = m_File.Read(); state && !m_Book.Load(*state))
            m_File.FailContent();
    }
    catch (const Failure& failure)
    {
        m_Messages.push_back(std::string("--exec: ") + failure.what());
    }
}

void Alarms::Save()
{
    State state = m_Book.Save();
    state.facts["command"] = m_Options.command;
    std::string text = StateText(state);
    if (text == m_Saved)
        return;
    std::string trouble;
    try
    {
        m_File.Write(std::move(state));
        m_Saved = std::move(text);
    }
    catch (const Failure& failure)
    {
        trouble = failure.what();
    }
    if (!trouble.empty() && trouble != m_FileTrouble)
        m_Messages.push_back("--exec: " + trouble);
    m_FileTrouble = trouble;
}

void Alarms::StartDue()
{
    std::ranges::move(m_Book.TakeDue(ZKT::Misc::now()), std::back_inserter(m_Waiting));
    for (; !m_Waiting.empty() && m_Runs.size() < mostRuns; m_Waiting.pop_front())
        Start(m_Waiting.front());
}

void Alarms::Start(const Alarm& alarm)
{
    try
    {
        auto process =
            std::make_unique<Process>(m_Options.command, VariablesOf(alarm), [this] { Wake(); });
        const auto deadline = Clock::now() + std::chrono::seconds(m_Options.timeoutSeconds);
        m_Runs.push_back({alarm, deadline, false, std::move(process)});
    }
    catch (const Failure& failure)
    {
        Report(alarm, std::string("could not be started: ") + failure.what());
        m_Book.Finish(alarm, false, ZKT::Misc::now());
    }
}

void Alarms::EndRuns()
{
    std::vector<Run> ended;
    for (Run& run : m_Runs)
        if (run.process->End())
            ended.push_back(std::move(run));
        else if (!run.isKilled && Clock::now() >= run.deadline)
        {
            run.process->Kill();
            run.isKilled = true;
        }
    std::erase_if(m_Runs, [](const Run& run) { return run.process == nullptr; });
    for (const Run& run : ended)
    {
        const ProcessEnd end = *run.process->End();
        if (run.isKilled)
            Report(run.alarm, "was killed after " + std::to_string(m_Options.timeoutSeconds) +
                                  " s (--exec-timeout)");
        else if (!end.isSuccess)
            Report(run.alarm, "ended with " + end.words);
        m_Book.Finish(run.alarm, !run.isKilled && end.isSuccess, ZKT::Misc::now());
    }
}

void Alarms::Report(const Alarm& alarm, const std::string& failure)
{
    m_Messages.push_back("--exec for " + alarm.drive.label + " (" + KindName(alarm.kind) +
                         "): the command " + failure);
}

void Alarms::PrintMessages()
{
    for (; !m_Messages.empty() && HasRoomForError(); m_Messages.pop_front())
        Complain(m_Messages.front());
    constexpr std::size_t most = 1000; // nobody reads them
    if (m_Messages.size() > most)
        m_Messages.erase(m_Messages.begin(), m_Messages.end() - static_cast<std::ptrdiff_t>(most));
}

} // namespace Host
