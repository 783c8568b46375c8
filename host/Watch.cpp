#include "contracts/zelKit/Thread.h"
#include "contracts/zelKit/Time.h"
#include "host/Alarms.h"
#include "host/ChangeInbox.h"
#include "host/ChangeText.h"
#include "host/DriveChoice.h"
#include "host/EventText.h"
#include "host/Failure.h"
#include "host/Lists.h"
#include "host/PluginSession.h"
#include "host/PropertyText.h"
#include "host/ShowText.h"
#include "host/Topology.h"
#include "host/Verbs.h"
#include "host/Verdict.h"
#include "host/Wakeup.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

using Host::Options;
using Host::Wakeup;

[[noreturn]] void FailWithoutReader()
{
    throw Host::Failure(Host::EXIT_PLUGIN, "standard output: nobody reads it any more");
}

/// Writes a line as far as its reader takes it. @return false when the watch is to end
bool WriteLine(const std::string& line, const Wakeup& wakeup, Host::Output& output)
{
    for (std::string_view rest = line; !rest.empty();)
    {
        const Wakeup::Reason reason = wakeup.WaitForOutput();
        if (reason == Wakeup::Reason::End)
            return false;
        const std::string_view piece = rest.substr(0, Wakeup::pieceBytes);
        output.Write(piece);
        rest.remove_prefix(piece.size());
    }
    return true;
}

/// One line for people; empty for what another line has told, or the verdict at the start.
std::string LineOf(const Host::Happening& happening)
{
    if (happening.change)
        return Host::ChangeLine(*happening.change) + '\n';
    if (happening.isCovered || (happening.isReminder && happening.isFirstPass))
        return {};
    return Host::EventLine(*happening.event, happening.present, happening.isReminder) + '\n';
}

/// One line for programs. The plug-in's events keep their members; those of a change stand behind
/// them.
std::string JsonLineOf(const Host::Happening& happening)
{
    using Host::JsonWriter;
    std::string line;
    JsonWriter json([&line](std::string_view text) { line += text; }, JsonWriter::Layout::OneLine);
    json.BeginDocument();
    if (happening.event)
        Host::WriteEventMembers(json, *happening.event, happening.present, happening.isReminder);
    if (happening.change)
        Host::WriteChangeMembers(json, *happening.change);
    if (!happening.event)
        json.Member("time", Host::IsoTime(happening.change->time));
    json.Member("timeMs", happening.change ? happening.change->time : happening.event->m_Time);
    json.EndObject();
    json.Finish();
    return line;
}

/// @return false when the watch is to end
bool Print(const std::vector<Host::Happening>& happenings, const Host::DriveChoice& choice,
           bool json, const Wakeup& wakeup, Host::Output& output)
{
    return std::ranges::all_of(
        happenings,
        [&](const Host::Happening& happening)
        {
            return !choice.Has(happening) ||
                   WriteLine(json ? JsonLineOf(happening) : LineOf(happening), wakeup, output);
        });
}

/// How things stand at the start, in one line.
std::string StartLine(const Host::Snapshot& start, const Host::DriveChoice& choice,
                      const Host::Limits& limits)
{
    std::vector<Host::Drive> drives;
    std::ranges::copy_if(start.drives, std::back_inserter(drives),
                         [&](const Host::Drive& drive) { return choice.Has(drive); });
    // An adapter warns of its drives, and these may be left out.
    const bool isWhole = drives.size() == start.drives.size();
    const Host::Objects none;
    const Host::Verdict verdict = Host::VerdictOf(isWhole ? start.objects : none, drives, limits);
    std::string line = verdict.troubled.empty() ? Host::noMark : Host::troubleMark;
    line += Host::LocalTime(ZKT::Misc::now()) + "  " + Host::VerdictWords(verdict);
    std::vector<std::string> reasons;
    for (const Host::JudgedDrive& judged : verdict.troubled)
        reasons.push_back(Host::DriveReasons(judged));
    for (const Host::JudgedDrive& judged : verdict.warned)
        reasons.push_back("warning, " + Host::DriveReasons(judged));
    return line + (reasons.empty() ? "" : ": ") + Host::Joined(reasons) + '\n';
}

void TellStart(const Host::Snapshot& start)
{
    std::string interval;
    for (const PI::CObject& object : start.objects)
        if (const auto* property = Host::FindProperty(object, PI::PROP_POLL_INTERVAL))
            interval = " every " + Host::ShortValueText(*property);
    std::fprintf(stderr, "watching %zu drive%s%s, Ctrl-C ends it\n", start.drives.size(),
                 start.drives.size() == 1 ? "" : "s", interval.c_str());
}

} // namespace

namespace Host
{

ExitCode Watch(const Options& options, Output& output)
{
    if (!output.IsOpen())
        FailWithoutReader();
    const Limits limits = LimitsInEffect();
    DriveChoice choice(options);
    Alarms alarms(options.alarms, options.only,
                  [&](const KnownDrive& drive) { return choice.Has(drive); });
    ChangeInbox inbox(limits,
                      [&](std::vector<KnownDrive> drives) { alarms.Look(std::move(drives)); });
    PluginSession session(options.plugin);
    const Snapshot start = TakeSnapshot(session);
    const Wakeup wakeup(inbox.Bell(), output, options.watchSeconds);
    choice.Resolve(start.drives);
    inbox.Watch(session, start);
    if (ZKT::Threading::CThread::HasCreateFailed())
        throw Failure(EXIT_PLUGIN, "nothing is watched: the system gave no thread; end other "
                                   "programs, or raise the limit of processes");
    if (!options.json)
    {
        TellStart(start);
        if (!WriteLine(StartLine(start, choice, limits), wakeup, output))
            return session.Result();
    }
    for (;;)
        switch (wakeup.WaitForInbox())
        {
        case Wakeup::Reason::Inbox:
            session.ReportTroubles();
            if (!Print(inbox.Take(), choice, options.json, wakeup, output))
                return session.Result();
            break;
        default: // the end, or nobody reads any more
            return session.Result();
        }
}

} // namespace Host
