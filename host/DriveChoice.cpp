#include "host/DriveChoice.h"

#include "host/ObjectQuery.h"

namespace Host
{

void DriveChoice::Resolve(const std::vector<Drive>& drives)
{
    for (const std::string& name : m_Options.only)
    {
        const ObjectQuery query = ParseObject(name);
        const Drive* drive = FindDrive(query, drives);
        // A disk that is not there yet may come.
        m_Only.insert(drive != nullptr ? drive->label : query.word);
    }
    for (const Drive& drive : drives)
        if (m_Options.IsIgnored(drive.serial))
            m_Ignored.insert(drive.label);
}

bool DriveChoice::Has(const std::string& label, const std::string& serial) const
{
    // Some events, and drives that are silent, tell no serial number.
    const bool isIgnored = serial.empty() ? m_Ignored.contains(label) : m_Options.IsIgnored(serial);
    return !isIgnored && (m_Only.empty() || m_Only.contains(label));
}

bool DriveChoice::Has(const Happening& happening) const
{
    return happening.change ? Has(happening.change->drive)
                            : Has("disk" + happening.event->GetPlaceHolder2(),
                                  happening.event->GetPlaceHolder4());
}

} // namespace Host
