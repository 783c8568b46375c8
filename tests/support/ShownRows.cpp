#include "tests/support/ShownRows.h"

#include "tests/support/OtherProgram.h"
#include "tests/support/PluginTest.h"

namespace Support
{
namespace
{

/// The value alone, as a view of the database shows it.
std::string Cell(const PI::CObject& object, PI::_PROPERTY_ID id)
{
    const std::string text = ValueText(object, id);
    const std::size_t colon = text.find(':');
    return colon == std::string::npos ? "NULL"
                                      : text.substr(colon + 1, text.find(" in ") - colon - 1);
}

} // namespace

Texts ExpectedRows(const std::vector<PI::CObject>& topology, const Drives& drives)
{
    Texts rows;
    for (const PI::CObject& object : topology)
    {
        if (object.m_Type != PI::OBJECT_PHYSICAL_DRIVE)
            continue;
        std::string& row = rows.emplace_back();
        for (const auto id :
             {PI::PROP_DEVICE_NUMBER, PI::PROP_SERIAL_NUMBER, PI::PROP_FIRMWARE_VERSION,
              PI::PROP_PHYSICAL_SIZE, PI::PROP_TEMPERATURE, PI::PROP_RATED_ENDURANCE_PERCENT})
            row += Cell(object, id) + '|';
        row += std::to_string(object.m_ID);
    }
    for (const auto& [number, drive] : Seen(drives))
        if (drive.partitioned)
            rows.push_back("Disk " + std::to_string(number) + "|240055746560");
    return rows;
}

Texts ShownRows(const std::string& file)
{
    OtherProgram database(file);
    Texts rows = database.Run("SELECT disk, serial, firmware, size_mib, temperature_c, "
                              "coalesce(endurance_used_percent, 0), object_id FROM drives "
                              "WHERE host = 'localhost' ORDER BY disk");
    const Texts partitions = database.Run(
        "SELECT os_device, size_bytes FROM partitions JOIN drives ON unique_id = drive_unique_id "
        "ORDER BY disk");
    rows.insert(rows.end(), partitions.begin(), partitions.end());
    return rows;
}

} // namespace Support
