// One line and an exit code for cron and monitoring systems, as the guidelines for monitoring
// plug-ins have them.
#include "host/FindingsJson.h"
#include "host/Lists.h"
#include "host/ObjectQuery.h"
#include "host/SeenDrives.h"
#include "host/Snapshot.h"
#include "host/Verbs.h"
#include "host/Verdict.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace
{

using Host::CheckStatus;
using Host::Drive;
using Host::Findings;
using Host::JudgedDrive;
using Host::Options;

std::string ListOf(const std::vector<JudgedDrive>& drives)
{
    std::vector<std::string> texts;
    for (const JudgedDrive& judged : drives)
        texts.push_back(Host::NameOf(*judged.drive) + " (" +
                        Host::Joined(judged.judgement.reasons) + ')');
    return Host::Shortened(texts);
}

std::string Count(std::size_t number, const char* what)
{
    return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

/// For an object that is none of the drives. @throws UsageFailure for one that is no drive at all
void FailOrMiss(const std::string& name, const std::vector<Drive>& drives, Findings& found)
{
    const std::string word = Host::ParseObject(name).word;
    if (word == "plugin" || word == "adapter")
        throw Host::UsageFailure("check looks at drives; " + word + " is none");
    std::vector<std::string> labels;
    for (const Drive& drive : drives)
        labels.push_back(Host::NameOf(drive));
    found.Add(CheckStatus::Critical, name + " is not there",
              "there are " + (labels.empty() ? "none" : Host::Shortened(labels)));
}

/// The drives that are asked for, each once: the named ones, or all; without the ignored ones.
std::vector<Drive> Chosen(const Options& options, const std::vector<Drive>& drives, Findings& found)
{
    std::set<const Drive*> named;
    for (const std::string& name : options.objects)
        if (const Drive* drive = Host::FindDrive(Host::ParseObject(name), drives))
            named.insert(drive);
        else
            FailOrMiss(name, drives, found);
    std::vector<Drive> chosen;
    for (const Drive& drive : drives)
        if (options.objects.empty() ? !options.IsIgnored(drive.serial) : named.contains(&drive))
            chosen.push_back(drive);
    return chosen;
}

std::string NameOf(const Host::Identity& drive)
{
    return drive.IsNameless() ? drive.label
                              : drive.label + " (" + drive.model + ", serial " + drive.serial + ')';
}

using Seen = std::optional<std::vector<Host::SeenDrive>>;

/// What an earlier check saw. A file that cannot be read is one finding among the others, and is
/// left as it is: then there is nothing.
Seen SeenBefore(const Options& options, Findings& found)
{
    try
    {
        return options.forget ? std::vector<Host::SeenDrive>() : Host::ReadSeenDrives();
    }
    catch (const Host::Failure& failure)
    {
        if (!options.expected) // which needs no file
            found.Add(CheckStatus::Unknown, failure.what());
        return std::nullopt;
    }
}

/// Compares with what an earlier check saw, and remembers what is seen now. A drive that is gone
/// stays known until it is forgotten.
void CompareWithBefore(const Options& options, const std::vector<Drive>& drives,
                       const std::vector<Host::SeenDrive>& seen, Findings& found)
{
    const Host::SeenChanges changes = Host::CompareWithSeen(drives, seen);
    if (!changes.risen.empty())
        found.Add(CheckStatus::Warning,
                  Host::Shortened(changes.risen) + ", risen since an earlier check",
                  "back up, and watch whether they rise again");
    std::vector<std::string> gone;
    for (const auto& [identity, errors] : changes.gone)
        if (!options.IsIgnored(identity.serial))
            gone.push_back(NameOf(identity));
    // What is not among the named drives is no business of this check.
    if (!gone.empty() && options.objects.empty())
        found.Add(CheckStatus::Critical,
                  Host::Shortened(gone) + (gone.size() == 1 ? " is" : " are") +
                      " gone since an earlier check",
                  "put back what is gone, or accept it with check --forget");
    try
    {
        Host::WriteSeenDrives(changes.known);
    }
    catch (const Host::Failure& failure)
    {
        if (!options.expected) // which needs no file
            found.Add(CheckStatus::Warning, failure.what());
    }
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

/// @param verdict  null when the drives could not be looked at
/// @param performance  follows the line
void Print(const Options& options, const Findings& found, const Host::Verdict* verdict,
           const std::string& performance, Host::Output& output)
{
    if (options.isQuiet)
        return;
    if (options.json)
    {
        Host::JsonWriter json(output);
        Host::WriteFindings(json, found, verdict);
    }
    else
        output.Write(found.Line() + performance + "\n");
}

} // namespace

namespace Host
{

namespace
{

constexpr const char* showHasMore = "tarnisctl show has more";

void AddVerdict(const Options& options, const Verdict& verdict, Findings& found)
{
    if (!verdict.troubled.empty())
        found.Add(CheckStatus::Critical,
                  Count(verdict.troubled.size(), "drive") +
                      " in trouble: " + ListOf(verdict.troubled),
                  std::string("back up and replace what fails, ") + showHasMore);
    if (!verdict.warned.empty())
        found.Add(CheckStatus::Warning,
                  Count(verdict.warned.size(), "warning") + ": " + ListOf(verdict.warned),
                  std::string("plan a replacement, ") + showHasMore);
    if (!verdict.notJudged.empty())
        found.Add(options.isStrict ? CheckStatus::Unknown : CheckStatus::Ok,
                  Count(verdict.notJudged.size(), "drive") +
                      " not judged: " + ListOf(verdict.notJudged),
                  options.isStrict ? showHasMore : "");
}

void AddNumber(const Options& options, std::size_t drives, Findings& found)
{
    if (options.expected && drives != *options.expected)
        found.Add(drives < *options.expected ? CheckStatus::Critical : CheckStatus::Warning,
                  std::to_string(drives) + " of " + std::to_string(*options.expected) +
                      " expected drives are there",
                  drives < *options.expected ? "tarnisctl show lists those that are there"
                                             : "expect the new ones, too");
    if (drives == 0 && !options.expected && options.objects.empty())
        found.Add(CheckStatus::Unknown, "no drive answers", showHasMore);
}

/// What goes wrong around the plug-in.
void AddTroubles(PluginSession& session, Findings& found)
{
    session.Result();
    for (const Trouble& trouble : session.CurrentTroubles())
        if (trouble.kind == TroubleKind::Right)
            found.Add(CheckStatus::Unknown, trouble.line);
        else if (trouble.kind == TroubleKind::Database)
            found.Add(CheckStatus::Warning, trouble.line);
}

ExitCode CheckDrives(const Options& options, Output& output)
{
    PluginSession session(options.plugin);
    const Snapshot snapshot = TakeSnapshot(session);
    const Limits limits = LimitsInEffect();
    Findings found;
    const Seen seen = SeenBefore(options, found);
    std::vector<Drive> all = snapshot.drives;
    NameSilentDrives(all, seen.value_or(std::vector<SeenDrive>()));
    const std::vector<Drive> drives = Chosen(options, all, found);
    // An adapter warns of its drives, and these may be left out.
    const bool isWhole = drives.size() == all.size();
    const Objects none;
    const Verdict verdict = VerdictOf(isWhole ? snapshot.objects : none, drives, limits);
    AddVerdict(options, verdict, found);
    if (seen)
        CompareWithBefore(options, drives, *seen, found);
    AddNumber(options, drives.size(), found);
    AddTroubles(session, found);
    if (found.Worst() == CheckStatus::Ok)
        found.Add(CheckStatus::Ok,
                  Count(verdict.count - verdict.notJudged.size(), "drive") + " well");
    Print(options, found, &verdict, " | " + PerformanceData(drives, verdict, limits), output);
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
        return FailCheck(options, failure.what(), output);
    }
}

ExitCode FailCheck(const Options& options, const std::string& reason, Output& output)
{
    Findings found;
    found.Add(CheckStatus::Unknown, reason);
    Print(options, found, nullptr, "", output);
    return CHECK_UNKNOWN;
}

} // namespace Host
