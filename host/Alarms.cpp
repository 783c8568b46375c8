#include "host/Alarms.h"

#include "contracts/zelKit/Time.h"
#include "host/AlarmText.h"
#include "host/Failure.h"
#include "host/Output.h"

#include <nlohmann/json.hpp>

#include <algorithm>
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

} // namespace

Alarms::Alarms(const AlarmOptions& options, AlarmBook::Filter isChosen)
    : m_Options(options), m_File("tarnisctl-watch.json", "what was told before is told once more"),
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

void Alarms::Look(std::vector<KnownDrive> drives)
{
    if (m_Options.command.empty())
        return;
    {
        const std::lock_guard guard(m_Lock);
        m_Drives = std::move(drives);
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
    Load();
    for (bool ends = false; !ends || !m_Runs.empty();)
        try
        {
            if (const auto drives = Wait())
                m_Book.Look(*drives);
            EndRuns();
            if (!ends)
                StartDue();
            const std::lock_guard guard(m_Lock);
            ends = m_Ends;
        }
        catch (const std::bad_alloc&)
        {
            PrintError("tarnisctl: --exec: memory ran out");
        }
}

void Alarms::Load()
{
    try
    {
        if (const auto content = m_File.Read(); content && !m_Book.Load(*content))
            m_File.FailContent();
    }
    catch (const Failure& failure)
    {
        Complain(std::string("--exec: ") + failure.what());
    }
}

void Alarms::Save()
{
    std::string trouble;
    try
    {
        m_File.Write(m_Book.Save());
    }
    catch (const Failure& failure)
    {
        trouble = failure.what();
    }
    if (!trouble.empty() && trouble != m_FileTrouble)
        Complain("--exec: " + trouble);
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
    if (!ended.empty())
        Save();
}

void Alarms::Report(const Alarm& alarm, const std::string& failure) const
{
    Complain("--exec for " + alarm.drive.label + " (" + KindName(alarm.kind) + "): the command " +
             failure);
}

} // namespace Host
