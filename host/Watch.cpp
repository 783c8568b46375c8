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
#include "host/VerdictJson.h"
#include "host/Wakeup.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
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
    if (happening.coveredBy || (happening.isReminder && happening.isFirstPass))
        return {};
    return (happening.change ? Host::ChangeLine(*happening.change)
                             : Host::EventLine(*happening.event, happening.present)) +
           '\n';
}

/// One line for programs. @param write  writes its members but for the moment
std::string JsonLine(std::uint64_t time, const std::function<void(Host::JsonWriter&)>& write)
{
    using Host::JsonWriter;
    std::string line;
    JsonWriter json([&line](std::string_view text) { line += text; }, JsonWriter::Layout::OneLine);
    json.BeginDocument();
    write(json);
    json.Member("timeIso", Host::IsoTime(time));
    json.Member("timeMs", time);
    json.EndObject();
    json.Finish();
    return line;
}

/// The plug-in's events keep their members; those of a change stand behind them.
std::string JsonLineOf(const Host::Happening& happening)
{
    const std::uint64_t time = happening.change ? happening.change->time : happening.event->m_Time;
    return JsonLine(time,
                    [&](Host::JsonWriter& json)
                    {
                        if (happening.event)
                            Host::WriteEventMembers(json, *happening.event, happening.present,
                                                    happening.isReminder);
                        else
                            json.Member("time", Host::IsoTime(time));
                        if (happening.change)
                            Host::WriteChangeMembers(json, *happening.change);
                        if (happening.coveredBy)
                            json.Member("partOf", Host::KindName(*happening.coveredBy));
                    });
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

/// The drives at the start that the user wants to hear of, judged.
class Start
{
  public:
    Start(const Host::Snapshot& snapshot, const Host::DriveChoice& choice,
          const Host::Limits& limits)
        : m_Snapshot(snapshot)
    {
        std::ranges::copy_if(snapshot.drives, std::back_inserter(m_Drives),
                             [&](const Host::Drive& drive) { return choice.Has(drive); });
        // An adapter warns of its drives, and these may be left out.
        const bool isWhole = m_Drives.size() == snapshot.drives.size();
        m_Verdict = Host::VerdictOf(isWhole ? snapshot.objects : m_None, m_Drives, limits);
    }

    /// How things stand, in one line.
    std::string Line() const
    {
        std::string line = m_Verdict.troubled.empty() ? Host::noMark : Host::troubleMark;
        line += Host::LocalTime(ZKT::Misc::now()) + "  " + Host::VerdictWords(m_Verdict);
        std::vector<std::string> reasons;
        const auto add = [&](const char* word, const std::vector<Host::JudgedDrive>& drives)
        {
            for (const Host::JudgedDrive& judged : drives)
                reasons.push_back(word + Host::DriveReasons(judged));
        };
        add("", m_Verdict.troubled);
        add("warning, ", m_Verdict.warned);
        add("not judged, ", m_Verdict.notJudged);
        return line + (reasons.empty() ? "" : ": ") + Host::Joined(reasons) + '\n';
    }

    std::string Json() const
    {
        const std::uint64_t now = ZKT::Misc::now();
        return JsonLine(now,
                        [&](Host::JsonWriter& json)
                        {
                            json.Member("time", Host::IsoTime(now));
                            json.Member("kind", "start");
                            Host::WriteVerdict(json, m_Verdict);
                        });
    }

    /// What a person sees who looks at the terminal.
    void Tell() const
    {
        std::string interval;
        for (const PI::CObject& object : m_Snapshot.objects)
            if (const auto* property = Host::FindProperty(object, PI::PROP_POLL_INTERVAL))
                interval = " every " + Host::ShortValueText(*property);
        std::fprintf(stderr, "watching %zu drive%s%s, Ctrl-C ends it\n", m_Drives.size(),
                     m_Drives.size() == 1 ? "" : "s", interval.c_str());
    }

  private:
    const Host::Snapshot& m_Snapshot;
    const Host::Objects m_None;
    std::vector<Host::Drive> m_Drives;
    Host::Verdict m_Verdict;
};

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
    ChangeInbox inbox(limits, [&](const std::vector<KnownDrive>& drives) { alarms.Look(drives); });
    PluginSession session(options.plugin);
    const Snapshot snapshot = TakeSnapshot(session);
    const Wakeup wakeup(inbox.Bell(), output, options.watchSeconds);
    choice.Resolve(snapshot.drives);
    inbox.Watch(session, snapshot);
    if (ZKT::Threading::CThread::HasCreateFailed())
        throw Failure(EXIT_PLUGIN, "nothing is watched: the system gave no thread; end other "
                                   "programs, or raise the limit of processes");
    const Start start(snapshot, choice, limits);
    if (!options.json)
        start.Tell();
    if (!WriteLine(options.json ? start.Json() : start.Line(), wakeup, output))
        return session.Result();
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
