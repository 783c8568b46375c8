#include "host/AttributeTable.h"

#include "host/SmartNames.h"
#include "host/Text.h"

#include <cstdio>

namespace Host
{

namespace
{

constexpr std::uint32_t noMargin = 0xFFFFFFFF;

std::string Line(const std::string& id, const std::string& name, const std::string& value,
                 const std::string& worst, const std::string& threshold, const std::string& margin,
                 const std::string& raw, const std::string& decides)
{
    constexpr std::size_t nameColumns = 30;
    return PadLeft(id, 3) + "  " + PadRight(name, nameColumns) + PadLeft(value, 6) +
           PadLeft(worst, 6) + PadLeft(threshold, 10) + PadLeft(margin, 7) + PadLeft(raw, 16) +
           (decides.empty() ? "" : "  " + decides);
}

/// Which readings come from the attribute.
std::string Decides(const PI::CSmartExplanation& smart, std::uint8_t id)
{
    std::string text;
    const auto add = [&](std::uint8_t decider, const char* reading)
    {
        if (decider == id)
            text += (text.empty() ? "<- " : ", ") + std::string(reading);
    };
    add(smart.m_HoursID, "hours");
    add(smart.m_BytesID, "bytes written");
    add(smart.m_EnduranceID, "endurance used");
    add(smart.m_ReserveID, "reserve left");
    return text;
}

} // namespace

std::string AttributeTable(const Drive& drive, const std::string& indent)
{
    if (drive.smart.m_Attributes.empty())
        return {};
    std::string text =
        indent + Line("ID", "ATTRIBUTE", "VALUE", "WORST", "THRESHOLD", "MARGIN", "RAW", "") + "\n";
    for (const PI::CSmartAttribute& attribute : drive.smart.m_Attributes)
    {
        const std::string name = SmartName(attribute.m_ID);
        text +=
            indent +
            Line(std::to_string(attribute.m_ID), name.empty() ? "-" : name,
                 std::to_string(attribute.m_Value), std::to_string(attribute.m_Worst),
                 attribute.m_Threshold == 0 ? "-" : std::to_string(attribute.m_Threshold),
                 attribute.m_Margin == noMargin ? "-" : std::to_string(attribute.m_Margin) + " %",
                 std::to_string(attribute.m_Raw), Decides(drive.smart, attribute.m_ID)) +
            "\n";
    }
    return text;
}

} // namespace Host
