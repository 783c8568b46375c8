#include "host/EventText.h"

#include "host/ChangeText.h"
#include "host/Names.h"
#include "host/ShowText.h"
#include "host/Text.h"
#include "host/Topology.h"

namespace
{

constexpr std::int32_t severityTrouble = 3;

std::string What(const PI::CEvent& event, bool present)
{
    switch (event.m_EventID)
    {
    case PI::EVENT_PNPADD_EX:
        return present ? "drive came" : "drive went";
    case PI::EVENT_SMART_ERROR:
        return "drive in trouble by its SMART data";
    case PI::EVENT_PD_WEAR_LEVEL_COUNT_ABOVE_THRESHOLD:
        return "wear above its threshold";
    case PI::EVENT_PD_RESERVED_CELLS_BELOW_THRESHOLD:
        return "reserve below its threshold";
    default:
        return Host::NameOrNumber(Vocabulary::eventNames(), event.m_EventID);
    }
}

} // namespace

namespace Host
{

std::string LabelOf(const PI::CEvent& event)
{
    return "disk" + event.GetPlaceHolder2();
}

std::string EventLine(const PI::CEvent& event, bool present)
{
    std::string line = event.m_Severity >= severityTrouble ? troubleMark : noMark;
    line += LocalTime(event.m_Time) + "  " + What(event, present) + ": ";
    if (!event.GetPlaceHolder2().empty())
        line += Printable(LabelOf(event)) + "  ";
    line += Printable(WithoutLeadingBlanks(event.GetSource()));
    if (!event.GetPlaceHolder4().empty())
        line += ", serial " + Printable(event.GetPlaceHolder4());
    if (!event.GetPlaceHolder3().empty())
        line += ", firmware " + Printable(event.GetPlaceHolder3());
    return line;
}

void WriteEventMembers(JsonWriter& json, const PI::CEvent& event, bool present, bool isReminder)
{
    json.Member("event", static_cast<int>(event.m_EventID));
    json.Member("name", NameOrNumber(Vocabulary::eventNames(), event.m_EventID));
    json.Member("severity", event.m_Severity);
    json.Member("time", event.m_Time);
    json.Member("object", IdText(event.m_ObjectID));
    json.Member("source", event.GetSource());
    json.Member("placeHolders", std::vector{event.GetPlaceHolder1(), event.GetPlaceHolder2(),
                                            event.GetPlaceHolder3(), event.GetPlaceHolder4()});
    json.Member("present", present);
    if (isReminder)
        json.Member("reminder", true);
}

} // namespace Host
