// One line and an exit code for cron and monitoring systems, as the guidelines for monitoring
// plug-ins have them.
#include "host/Changes.h"
#include "host/ObjectQuery.h"
#include "host/Snapshot.h"
#include "host/StateFile.h"
#include "host/Text.h"
#include "host/Verbs.h"
#include "host/Verdict.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace
{

using Host::Drive;
using Host::JudgedDrive;
using Host::Options;
using Host::SeenDrives;

/// Ordered by the precedence of the guidelines' readers: the worse, the higher.
enum class Result
{
    Ok,
    Warning,
    Unknown,
    Critical,
};

Host::ExitCode ExitCodeOf(Result result)
{
    switch (result)
    {
    case Result::Ok:
        return Host::CHECK_OK;
    case Result::Warning:
        return Host::CHECK_WARNING;
    case Result::Critical:
        return Host::CHECK_CRITICAL;
    default:
        return Host::CHECK_UNKNOWN;
    }
}

const char* WordOf(Result result)
{
    switch (result)
    {
    case Result::Ok:
        return "OK";
    case Result::Warning:
        return "WARNING";
    case Result::Critical:
        return "CRITICAL";
    default:
        return "UNKNOWN";
    }
}

/// What was found, sentence by sentence, and how bad it is.
class Findings
{
  public:
    void Add(Result result, const std::string& text)
    {
        m_Result = std::max(m_Result, result);
        m_Texts.push_back({result, text});
    }

    /// What is to be done about the worst of them.
    void Advise(Result result, const std::string& text)
    {
        if (result == m_Result && m_Advice.empty())
            m_Advice = text;
    }

    Result Worst() const { return m_Result; }

    /// The worst first.
    std::string Text()
    {
        std::ranges::stable_sort(m_Texts, std::ranges::greater(), &Finding::result);
        std::string text;
        for (const Finding& finding : m_Texts)
            text += (text.empty() ? "" : "; ") + finding.text;
        return text + (m_Advice.empty() ? "" : "; " + m_Advice);
    }

  private:
    struct Finding
    {
        Result result;
        std::string text;
    };
    std::vector<Finding> m_Texts;
    Result m_Result = Result::Ok;
    std::string m_Advice;
};

std::string ListOf(const std::vector<JudgedDrive>& drives)
{
    constexpr std::size_t most = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(drives.size(), most); ++i)
        text += (i == 0 ? "" : ", ") + Host::NameOf(*drives[i].drive) + " (" +
                Host::Joined(drives[i].judgement.reasons) + ')';
    if (drives.size() > most)
        text += " and " + std::to_string(drives.size() - most) + " more";
    return text;
}

std::string Count(std::size_t number, const char* what)
{
    return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

/// The drives that are asked for: the named ones, or all; without the ignored ones.
std::vector<Drive> Chosen(const Options& options, const std::vector<Drive>& drives, Findings& found)
{
    std::vector<Drive> chosen;
    const auto isIgnored = [&](const Drive& drive)
    {
        return !drive.serial.empty() &&
               std::ranges::find(options.ignored, drive.serial) != options.ignored.end();
    };
    if (options.objects.empty())
        std::ranges::copy_if(drives, std::back_inserter(chosen),
                             [&](const Drive& drive) { return !isIgnored(drive); });
    for (const std::string& name : options.objects)
        if (const Drive* drive = Host::FindDrive(Host::ParseObject(name), drives))
            chosen.push_back(*drive);
        else
            found.Add(Result::Critical, name + " is not there");
    return chosen;
}

/// Compares with what an earlier check saw, and remembers what is seen now. A drive that is gone
/// stays known until it is forgotten.
void CompareWithBefore(const Options& options, const std::vector<Drive>& drives, Findings& found)
{
    const Host::StateFile file("tarnisctl-check.json");
    SeenDrives seen;
    if (!options.forget)
        seen = file.Read().value_or(SeenDrives());
    std::set<std::string> present;
    for (const Drive& drive : drives)
    {
        if (drive.serial.empty())
            continue;
        present.insert(drive.serial);
        const bool isNew = !seen.contains(drive.serial);
        Host::SeenDrive& known = seen[drive.serial];
        const auto compare = [&](std::optional<std::uint64_t>& before,
                                 const std::optional<std::uint64_t>& now, const char* what)
        {
            if (!now)
                return;
            if (!isNew && *now > before.value_or(0))
                found.Add(Result::Warning, Host::NameOf(drive) + ": " + what + " rose from " +
                                               std::to_string(before.value_or(0)) + " to " +
                                               std::to_string(*now));
            before = now;
        };
        compare(known.pendingSectors, drive.pendingSectors, "pending sectors");
        compare(known.uncorrectableErrors, drive.uncorrectableErrors, "uncorrectable errors");
        known.label = drive.label;
        known.model = drive.model;
    }
    const bool isWhole = options.objects.empty(); // else the others are no business of this check
    if (isWhole)
        for (const auto& entry : seen)
        {
            const std::string& serial = entry.first;
            const Host::SeenDrive& drive = entry.second;
            const bool isSilent = std::ranges::any_of(
                drives, [&](const Drive& candidate)
                { return !candidate.IsAnswering() && candidate.label == drive.label; });
            const bool isIgnored =
                std::ranges::find(options.ignored, serial) != options.ignored.end();
            if (!present.contains(serial) && !isSilent && !isIgnored)
                found.Add(Result::Critical, drive.label + " (" + drive.model + ", serial " +
                                                serial + ") is gone since an earlier check");
        }
    file.Write(seen);
}

/// A bar would begin the performance data.
std::string StatusLine(Result result, const std::string& text)
{
    std::string safe = Host::Printable(text);
    std::ranges::replace(safe, '|', '/');
    return std::string("TARNIS ") + WordOf(result) + " - " + safe;
}

std::string Label(const std::string& text)
{
    return "'" + text + "'";
}

/// Performance data: label=value[unit];[warning];[critical];[minimum];[maximum]
std::string PerformanceData(const std::vector<Drive>& drives, const Host::Verdict& verdict,
                            const Host::Limits& limits)
{
    std::string text = "drives=" + std::to_string(verdict.count) +
                       ";;;0 failing=" + std::to_string(verdict.troubled.size()) +
                       ";;0;0 warnings=" + std::to_string(verdict.warned.size()) +
                       ";0;;0 not_judged=" + std::to_string(verdict.notJudged.size()) + ";;;0";
    for (const Drive& drive : drives)
    {
        if (drive.used)
            text += ' ' + Label(drive.label + "_used") + '=' + std::to_string(*drive.used) + "%;" +
                    std::to_string(limits.used) + ";95;0";
        if (drive.reserve)
            text += ' ' + Label(drive.label + "_reserve") + '=' + std::to_string(*drive.reserve) +
                    "%;" + std::to_string(limits.reserve) + ":;10:;0;100";
        if (drive.temperature)
            text += ' ' + Label(drive.label + "_temperature") + '=' +
                    std::to_string(std::lround(*drive.temperature)) + ";;;";
    }
    return text;
}

} // namespace

namespace Host
{

namespace
{

ExitCode CheckDrives(const Options& options, Output& output)
{
    PluginSession session(options.plugin);
    const Snapshot snapshot = TakeSnapshot(session);
    const Limits limits = LimitsInEffect();
    Findings found;
    const std::vector<Drive> drives = Chosen(options, snapshot.drives, found);
    const Verdict verdict = VerdictOf(snapshot.objects, drives, limits);

    if (!verdict.troubled.empty())
        found.Add(Result::Critical, Count(verdict.troubled.size(), "drive") +
                                        " in trouble: " + ListOf(verdict.troubled));
    CompareWithBefore(options, drives, found);
    if (options.expected && drives.size() != *options.expected)
        found.Add(drives.size() < *options.expected ? Result::Critical : Result::Warning,
                  std::to_string(drives.size()) + " of " + std::to_string(*options.expected) +
                      " expected drives are there");
    session.Result();
    for (const Trouble& trouble : session.CurrentTroubles())
        if (trouble.kind == TroubleKind::Right)
            found.Add(Result::Unknown, trouble.line);
        else if (trouble.kind == TroubleKind::Database)
            found.Add(Result::Warning, trouble.line);
    if (!verdict.warned.empty())
        found.Add(Result::Warning,
                  Count(verdict.warned.size(), "warning") + ": " + ListOf(verdict.warned));
    if (!verdict.notJudged.empty())
        found.Add(options.isStrict ? Result::Unknown : Result::Ok,
                  Count(verdict.notJudged.size(), "drive") +
                      " not judged: " + ListOf(verdict.notJudged));
    if (drives.empty() && !options.expected)
        found.Add(Result::Unknown, "no drive answers");
    if (found.Worst() == Result::Ok)
        found.Add(Result::Ok, Count(verdict.count - verdict.notJudged.size(), "drive") + " well");
    found.Advise(Result::Critical,
                 "back up and replace what fails, put back what is gone or accept "
                 "it with check --forget; tarnisctl show has more");
    found.Advise(Result::Unknown, "tarnisctl show has more");
    found.Advise(Result::Warning, "plan a replacement; tarnisctl show has more");
    if (!options.isQuiet)
        output.Write(StatusLine(found.Worst(), found.Text()) + " | " +
                     PerformanceData(drives, verdict, limits) + "\n");
    return ExitCodeOf(found.Worst());
}

} // namespace

ExitCode Check(const Options& options, Output& output)
{
    try
    {
        return CheckDrives(options, output);
    }
    catch (const Failure& failure)
    {
        // Monitoring systems read standard output.
        if (!options.isQuiet)
            output.Write(StatusLine(Result::Unknown, failure.what()) + "\n");
        return CHECK_UNKNOWN;
    }
}

} // namespace Host
