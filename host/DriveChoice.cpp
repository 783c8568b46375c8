#include "host/DriveChoice.h"

#include "host/EventText.h"
#include "host/Failure.h"
#include "host/ObjectQuery.h"
#include "host/Output.h"
#include "host/SeenDrives.h"

namespace Host
{

namespace
{

/// Those that an earlier check saw, if it can be told.
std::vector<SeenDrive> SeenBefore()
{
    try
    {
        return ReadSeenDrives();
    }
    catch (const Failure&)
    {
        return {};
    }
}

} // namespace

void DriveChoice::Resolve(std::vector<Drive> drives)
{
    NameSilentDrives(drives, SeenBefore());
    for (const std::string& name : m_Options.only)
    {
        const ObjectQuery query = ParseObject(name);
        const Drive* drive = FindDrive(query, drives);
        if (drive == nullptr || drive->serial.empty() || drive->label == query.word)
            m_Labels.insert(drive != nullptr ? drive->label : query.word);
        else
        {
            m_Serials.insert(drive->serial);
            m_LabelsOfSerials.insert(drive->label);
        }
        if (drive == nullptr)
        {
            m_Serials.insert(query.word);
            Complain("watch --only: there is no " + name + " now; it is watched when it comes");
        }
    }
    for (const Drive& drive : drives)
        if (m_Options.IsIgnored(drive.serial))
            m_Ignored.insert(drive.label);
}

bool DriveChoice::Has(const std::string& label, const std::string& serial) const
{
    if (serial.empty() ? m_Ignored.contains(label) : m_Options.IsIgnored(serial))
        return false;
    return m_Options.only.empty() || m_Labels.contains(label) ||
           (serial.empty() ? m_LabelsOfSerials.contains(label) : m_Serials.contains(serial));
}

bool DriveChoice::Has(const Happening& happening) const
{
    return happening.change ? Has(happening.change->drive)
                            : Has(LabelOf(*happening.event), happening.event->GetPlaceHolder4());
}

} // namespace Host
