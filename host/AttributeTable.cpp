#include "host/AttributeTable.h"

#include "host/SmartNames.h"
#include "host/Table.h"

#include <algorithm>
#include <vector>

namespace Host
{

namespace
{

std::vector<TableColumn> Columns()
{
    constexpr int atLast = TableColumn::afterBreaking;
    return {{"ID", true, 0, 0, 0},
            {"ATTRIBUTE", false, 20, 12, 0},
            {"VALUE", true, 0, 0, atLast + 1},
            {"WORST", true, 0, 0, 1},
            {"THRESHOLD", true, 0, 0, atLast},
            {"MARGIN", true, 0, 0, 2},
            {"RAW", true, 0, 8, 0},
            {"READING", false, 11, 9, atLast + 2}};
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

Table::Cells CellsOf(const PI::CSmartAttribute& attribute, const PI::CSmartExplanation& smart)
{
    const std::string name = SmartName(attribute.m_ID);
    const std::optional<std::uint32_t> margin = MarginOf(attribute);
    return {
        std::to_string(attribute.m_ID),
        name.empty() ? "-" : name,
        std::to_string(attribute.m_Value),
        std::to_string(attribute.m_Worst),
        attribute.m_Threshold == 0 ? "-" : std::to_string(attribute.m_Threshold),
        margin ? std::to_string(*margin) + " %" : "-",
        std::to_string(attribute.m_Raw),
        Decides(smart, attribute.m_ID),
    };
}

} // namespace

std::string AttributeTable(const Drive& drive, const std::string& indent, const Style& style)
{
    std::vector<Table::Cells> rows;
    for (const PI::CSmartAttribute& attribute : drive.smart.m_Attributes)
        rows.push_back(CellsOf(attribute, drive.smart));
    if (rows.empty())
        return {};
    Table table(Columns(), rows);
    if (!style.table.isWide)
        table.FitInto(style.columns - std::min(style.columns, indent.size()), true);
    std::string text;
    const auto add = [&](const std::vector<std::string>& lines)
    {
        for (const std::string& line : lines)
            text += indent + line + "\n";
    };
    add(table.TitleLines());
    for (std::size_t row = 0; row < rows.size(); ++row)
        add(table.RowLines(row));
    return text + GoneText(table, style.columns, indent);
}

} // namespace Host
