#include "host/Health.h"
#include "host/PropertyText.h"
#include "host/ShowText.h"
#include "host/Text.h"

#include <algorithm>
#include <vector>

namespace
{

using Host::Objects;

struct Column
{
    const char* title;
    std::string (*cell)(const PI::CObject& drive);
    bool alignRight;
    std::size_t leastColumns; // what a text may be cut to; 0: it is never cut
    int goesAt;               // order in which columns go on a narrow terminal; 0: it stays
    bool onlyWhenFilled;      // left out when no drive has a value for it
    std::size_t natural = 0;  // columns of the widest cell
    std::size_t width = 0;    // that it gets
};

template <PI::_PROPERTY_ID id> std::string Cell(const PI::CObject& drive)
{
    const PI::CProperty* property = Host::FindProperty(drive, id);
    const std::string text = property == nullptr ? "" : Host::ShortValueText(*property);
    return text.empty() ? "-" : Host::Printable(text);
}

// The display name ends in the disk's number, which the first column tells already.
std::string ModelCell(const PI::CObject& drive)
{
    const std::string vendor = Cell<PI::PROP_VENDOR>(drive);
    const std::string product = Cell<PI::PROP_PRODUCT>(drive);
    if (vendor == "-" && product == "-")
        return Cell<PI::PROP_NAME>(drive);
    return vendor == "-" ? product : product == "-" ? vendor : vendor + ' ' + product;
}

std::vector<Column> Columns()
{
    return {
        {"DISK", Host::WordOf, false, 0, 0, false},
        {"STATUS", Cell<PI::PROP_STATUS>, false, 0, 0, false},
        {"MODEL", ModelCell, false, 16, 0, false},
        {"SERIAL", Cell<PI::PROP_SERIAL_NUMBER>, false, 20, 2, false},
        {"SIZE", Cell<PI::PROP_PHYSICAL_SIZE>, true, 0, 0, false},
        {"MEDIA", Cell<PI::PROP_MEDIA_TYPE>, false, 0, 3, false},
        {"TEMP", Cell<PI::PROP_TEMPERATURE>, true, 0, 0, false},
        {"HOURS", Cell<PI::PROP_POWERON_HOURS>, true, 0, 4, true},
        {"WRITTEN", Cell<PI::PROP_BYTES_WRITTEN>, true, 0, 1, true},
        {"USED", Cell<PI::PROP_RATED_ENDURANCE_PERCENT>, true, 0, 0, true},
        {"RESERVE", Cell<PI::PROP_REMAINING_RESERVE_SPACE>, true, 0, 0, true},
        {"LASTS UNTIL", Cell<PI::PROP_ESTIMATED_LIFETIME>, true, 0, 5, true},
    };
}

constexpr const char* gap = "  ";

std::size_t LineWidth(const std::vector<Column>& columns)
{
    std::size_t width = Host::DisplayWidth(Host::noMark);
    for (const Column& column : columns)
        width += column.width + Host::DisplayWidth(gap);
    return width - Host::DisplayWidth(gap);
}

void Measure(std::vector<Column>& columns, const Objects& drives)
{
    for (Column& column : columns)
    {
        bool filled = false;
        column.natural = Host::DisplayWidth(column.title);
        for (const PI::CObject& drive : drives)
        {
            const std::string cell = column.cell(drive);
            filled = filled || cell != "-";
            column.natural = std::max(column.natural, Host::DisplayWidth(cell));
        }
        if (column.onlyWhenFilled && !filled)
            column.natural = 0;
        column.width = column.natural;
    }
    std::erase_if(columns, [](const Column& column) { return column.natural == 0; });
}

void FitInto(std::vector<Column>& columns, std::size_t available)
{
    if (LineWidth(columns) > available) // a whole name is worth more than this one
        std::erase_if(columns, [](const Column& column) { return column.goesAt == 1; });
    for (;;)
    {
        for (Column& column : columns)
            if (const std::size_t line = LineWidth(columns);
                line > available && column.leastColumns != 0)
            {
                const std::size_t wanted = line - available;
                const std::size_t least = std::min(column.leastColumns, column.width);
                column.width = column.width > least + wanted ? column.width - wanted : least;
            }
        if (LineWidth(columns) <= available)
            return;
        const auto next = std::min_element(columns.begin(), columns.end(),
                                           [](const Column& a, const Column& b)
                                           {
                                               const auto rank = [](const Column& c)
                                               { return c.goesAt == 0 ? 1000 : c.goesAt; };
                                               return rank(a) < rank(b);
                                           });
        if (next->goesAt == 0)
            return;
        columns.erase(next);
        for (Column& column : columns) // there is more room for them now
            column.width = column.natural;
    }
}

std::string Line(const std::vector<Column>& columns, const std::vector<std::string>& cells)
{
    std::string line;
    for (std::size_t i = 0; i < columns.size(); ++i)
    {
        const std::string cell = Host::Shorten(cells[i], columns[i].width);
        line += i == 0 ? "" : gap;
        line += columns[i].alignRight ? Host::PadLeft(cell, columns[i].width)
                                      : Host::PadRight(cell, columns[i].width);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

} // namespace

namespace Host
{

std::string DriveTable(const Objects& objects, const Style& style)
{
    Objects drives;
    for (const PI::CObject& object : objects)
        if (object.m_Type == PI::OBJECT_PHYSICAL_DRIVE)
            drives.push_back(object);
    if (drives.empty())
        return {};

    std::vector<Column> columns = Columns();
    Measure(columns, drives);
    FitInto(columns, style.columns);

    std::vector<std::string> cells;
    for (const Column& column : columns)
        cells.emplace_back(column.title);
    std::string text = noMark + Line(columns, cells) + "\n";
    for (const PI::CObject& drive : drives)
    {
        cells.clear();
        for (const Column& column : columns)
            cells.push_back(column.cell(drive));
        const char* mark = HealthOf(drive) == Health::Good ? noMark : troubleMark;
        text += Emphasised(mark + Line(columns, cells), drive, style) + "\n";
    }
    return text;
}

} // namespace Host
