#include "host/ChangeInbox.h"

#include "contracts/zelKit/Time.h"
#include "host/EventText.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace Host
{

namespace
{

/// The changes that the plug-in tells by this event. To the plug-in, a drive that stops to answer
/// went.
std::vector<ChangeKind> KindsOf(const PI::CEvent& event, bool present)
{
    using enum ChangeKind;
    switch (event.m_EventID)
    {
    case PI::EVENT_PNPADD_EX:
        return present ? std::vector{Added, Replaced, Moved, Recovered, ReadingsBack, Trouble}
                       : std::vector{Gone, Trouble, ReadingsLost};
    case PI::EVENT_SMART_ERROR:
        return {Trouble};
    case PI::EVENT_PD_WEAR_LEVEL_COUNT_ABOVE_THRESHOLD:
    case PI::EVENT_PD_RESERVED_CELLS_BELOW_THRESHOLD:
        return {Trouble, Warning};
    default:
        return {};
    }
}

/// Whether the plug-in's event and the change tell of the same.
bool TellTheSame(const Happening& happening, const Change& change)
{
    if (!happening.event || happening.change)
        return false;
    const auto kinds = KindsOf(*happening.event, happening.present);
    const std::string serial = happening.event->GetPlaceHolder4(); // not all events tell it
    return std::ranges::find(kinds, change.kind) != kinds.end() &&
           (serial.empty() || serial == change.drive.serial) &&
           LabelOf(*happening.event) == change.drive.label;
}

/// Whether the event tells that the drive went which the change tells to be replaced or elsewhere.
bool IsCoveredBy(const Happening& happening, const Change& change)
{
    if (!happening.event || happening.present || happening.event->m_EventID != PI::EVENT_PNPADD_EX)
        return false;
    return change.kind == ChangeKind::Replaced
               ? LabelOf(*happening.event) == change.drive.label
               : change.kind == ChangeKind::Moved &&
                     happening.event->GetPlaceHolder4() == change.drive.serial;
}

} // namespace

void ChangeInbox::Watch(PluginSession& session, const Snapshot& start)
{
    m_Session = &session;
    for (const PI::CObject& object : start.objects)
    {
        m_Known.insert(object.m_ID);
        if (object.m_Type == PI::OBJECT_PLUGIN)
            m_PluginId = object.m_ID;
    }
    m_Finder.Look(start.drives, ZKT::Misc::now());
    m_OnLook(m_Finder.Known());
    session.StartWorker(this, &ChangeInbox::Answer);
}

std::vector<Happening> ChangeInbox::Take()
{
    m_Bell.Answer();
    const std::lock_guard guard(m_Lock);
    if (m_Failure)
        std::rethrow_exception(m_Failure);
    return std::exchange(m_Happenings, {});
}

void ChangeInbox::Answer(void* inbox, IPLUGINAPI*)
{
    auto& self = *static_cast<ChangeInbox*>(inbox);
    try
    {
        self.Receive();
    }
    catch (const std::exception&) // it belongs to the thread that prints, not to the plug-in's
    {
        const std::lock_guard guard(self.m_Lock);
        self.m_Failure = std::current_exception();
    }
    self.m_Bell.Ring();
}

Happening ChangeInbox::HappeningOf(const PI::CEvent& event)
{
    Happening happening;
    happening.event = event;
    happening.isFirstPass = m_IsFirstPass;
    happening.isReminder = event.m_EventID != PI::EVENT_PNPADD_EX;
    // An id is never used twice: one that is known went, any other came.
    happening.present = m_Known.count(event.m_ObjectID) != 0;
    if (!happening.isReminder)
    {
        happening.present = m_Known.erase(event.m_ObjectID) == 0;
        if (happening.present)
            m_Known.insert(event.m_ObjectID);
    }
    return happening;
}

void ChangeInbox::Add(Change change, std::vector<Happening>& happenings)
{
    auto same = std::ranges::find_if(happenings, [&](const Happening& candidate)
                                     { return TellTheSame(candidate, change); });
    for (Happening& other : happenings)
        if (IsCoveredBy(other, change))
            other.coveredBy = change.kind;
    if (same == happenings.end())
        same = happenings.insert(happenings.end(), Happening{});
    same->change = std::move(change);
    same->isReminder = false;
}

/// The plug-in repeats by its events that something stands, not what: that is added.
void ChangeInbox::CompleteReminders(std::vector<Happening>& happenings) const
{
    std::set<std::string> told;
    for (Happening& happening : happenings)
        if (happening.isReminder)
        {
            const std::string label = LabelOf(*happening.event);
            happening.change = m_Finder.Reminder(label, happening.event->m_Time);
            if (!told.insert(label).second)
                happening.coveredBy = ChangeKind::Reminder;
        }
}

void ChangeInbox::Receive()
{
    std::vector<Happening> happenings;
    for (const PI::CEvent& event : m_Session->Events(m_PluginId))
        happenings.push_back(HappeningOf(event));
    const Snapshot snapshot = TakeSnapshot(*m_Session);
    for (Change& change : m_Finder.Look(snapshot.drives, ZKT::Misc::now()))
        Add(std::move(change), happenings);
    CompleteReminders(happenings);
    m_OnLook(m_Finder.Known());
    m_IsFirstPass = false;
    const std::lock_guard guard(m_Lock);
    std::ranges::move(happenings, std::back_inserter(m_Happenings));
}

} // namespace Host
