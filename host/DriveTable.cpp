#include "host/Failure.h"
#include "host/Names.h"
#include "host/PropertyText.h"
#include "host/ShowText.h"
#include "host/Text.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>
#include <optional>

namespace
{

using Host::Drive;

struct Column
{
    const char* key; ///< as a person asks for it
    const char* title;
    std::string (*cell)(const Drive& drive);             ///< empty: there is no value
    std::optional<double> (*number)(const Drive& drive); ///< to sort by; null: by its text
    bool alignRight;
    bool isUsual;             // shown without being asked for
    std::size_t leastColumns; // that its lines may be broken to; 0: they are not broken
    int goesAt;               // order in which columns go on a narrow terminal; 0: it stays
    std::size_t natural = 0;  // columns of the widest cell
    std::size_t width = 0;    // that it gets
};

template <class Number> std::optional<double> ToDouble(const std::optional<Number>& number)
{
    return number ? std::optional(static_cast<double>(*number)) : std::nullopt;
}

std::string Percent(const std::optional<int>& percent)
{
    return percent ? std::to_string(*percent) + " %" : "";
}

std::string TemperatureCell(const Drive& drive)
{
    if (!drive.temperature)
        return {};
    const std::string hot = *drive.temperature >= Host::hotDegrees ? "! " : "";
    return hot + std::to_string(std::lround(*drive.temperature)) + " °C";
}

// An estimate of many years is no date.
std::string LastsUntilCell(const Drive& drive)
{
    int year = 0;
    if (std::sscanf(drive.lastsUntil.c_str(), "%4d-", &year) != 1)
        return drive.lastsUntil;
    const std::time_t now = std::time(nullptr);
    std::tm today{};
#ifdef _WIN32
    gmtime_s(&today, &now);
#else
    gmtime_r(&now, &today);
#endif
    constexpr int many = 10;
    return year - (today.tm_year + 1900) > many ? "over 10 years" : drive.lastsUntil;
}

std::optional<double> DiskNumber(const Drive& drive)
{
    return ToDouble(drive.number);
}

std::vector<Column> AllColumns()
{
    return {
        {"disk", "DISK", [](const Drive& d) { return d.label; }, DiskNumber, false, true, 0, 0},
        {"name", "NAME", [](const Drive& d) { return d.systemName; }, nullptr, false, true, 0, 6},
        {"status", "STATUS", Host::StateWords, nullptr, false, true, 0, 0},
        {"model", "MODEL", [](const Drive& d) { return d.model; }, nullptr, false, true, 16, 0},
        {"serial", "SERIAL", [](const Drive& d) { return d.serial; }, nullptr, false, true, 0, 2},
        {"firmware", "FIRMWARE", [](const Drive& d) { return d.firmware; }, nullptr, false, false,
         0, 0},
        {"size", "SIZE",
         [](const Drive& d) { return d.bytes ? Host::DecimalSize(*d.bytes) : std::string(); },
         [](const Drive& d) { return ToDouble(d.bytes); }, true, true, 0, 0},
        {"media", "MEDIA",
         [](const Drive& d) {
             return std::string(!d.IsAnswering() ? "" : d.isSsd ? "SSD" : "HDD");
         },
         nullptr, false, true, 0, 3},
        {"temp", "TEMP", TemperatureCell, [](const Drive& d) { return ToDouble(d.temperature); },
         true, true, 0, 0},
        {"hours", "HOURS",
         [](const Drive& d) { return d.hours ? std::to_string(*d.hours) + " h" : std::string(); },
         [](const Drive& d) { return ToDouble(d.hours); }, true, true, 0, 4},
        {"written", "WRITTEN",
         [](const Drive& d)
         { return d.bytesWritten ? Host::DecimalSize(*d.bytesWritten) : std::string(); },
         [](const Drive& d) { return ToDouble(d.bytesWritten); }, true, true, 0, 1},
        {"used", "USED", [](const Drive& d) { return Percent(d.used); },
         [](const Drive& d) { return ToDouble(d.used); }, true, true, 0, 0},
        {"reserve", "RESERVE", [](const Drive& d) { return Percent(d.reserve); },
         [](const Drive& d) { return ToDouble(d.reserve); }, true, true, 0, 0},
        {"lasts", "LASTS UNTIL", LastsUntilCell, nullptr, true, true, 0, 5},
    };
}

constexpr const char* gap = "  ";

std::string CellText(const Column& column, const Drive& drive)
{
    const std::string text = Host::Printable(column.cell(drive));
    return text.empty() ? "-" : text;
}

const Column& FindColumn(const std::vector<Column>& columns, const std::string& key)
{
    for (const Column& column : columns)
        if (key == column.key)
            return column;
    std::vector<std::string> keys;
    std::string list;
    for (const Column& column : columns)
    {
        keys.emplace_back(column.key);
        list += (list.empty() ? "" : ", ") + keys.back();
    }
    throw Host::UsageFailure("'" + key + "' is no column (columns: " + list + ")" +
                             Host::DidYouMean(Host::SimilarNames(key, keys)));
}

std::vector<Column> ChosenColumns(const std::vector<std::string>& keys)
{
    const std::vector<Column> all = AllColumns();
    std::vector<Column> chosen;
    for (const std::string& key : keys)
        chosen.push_back(FindColumn(all, key));
    if (keys.empty())
        std::ranges::copy_if(all, std::back_inserter(chosen), &Column::isUsual);
    return chosen;
}

void Sort(std::vector<const Drive*>& drives, const std::string& key)
{
    if (key.empty())
        return;
    const std::vector<Column> all = AllColumns();
    const Column column = FindColumn(all, key);
    constexpr double last = std::numeric_limits<double>::infinity(); // without a value
    std::ranges::stable_sort(drives,
                             [&](const Drive* one, const Drive* other)
                             {
                                 if (column.number != nullptr)
                                     return column.number(*one).value_or(last) <
                                            column.number(*other).value_or(last);
                                 const std::string a = column.cell(*one);
                                 const std::string b = column.cell(*other);
                                 return a.empty() || b.empty() ? b.empty() && !a.empty() : a < b;
                             });
}

std::size_t LineWidth(const std::vector<Column>& columns)
{
    std::size_t width = Host::DisplayWidth(Host::noMark);
    for (const Column& column : columns)
        width += column.width + Host::DisplayWidth(gap);
    return width - Host::DisplayWidth(gap);
}

/// @param keepsEmpty  whether columns stay in which no drive has a value
void Measure(std::vector<Column>& columns, const std::vector<const Drive*>& drives, bool keepsEmpty)
{
    for (Column& column : columns)
    {
        bool isFilled = keepsEmpty;
        column.natural = Host::DisplayWidth(column.title);
        for (const Drive* drive : drives)
        {
            const std::string cell = CellText(column, *drive);
            isFilled = isFilled || cell != "-";
            column.natural = std::max(column.natural, Host::DisplayWidth(cell));
        }
        column.width = isFilled ? column.natural : 0;
    }
    std::erase_if(columns, [](const Column& column) { return column.width == 0; });
}

/// Lets columns go until the line fits, then breaks what may be broken.
/// @return the titles of the columns that had to go
std::vector<std::string> FitInto(std::vector<Column>& columns, std::size_t available)
{
    std::vector<std::string> gone;
    while (LineWidth(columns) > available)
    {
        const auto rank = [](const Column& column)
        { return column.goesAt == 0 ? std::numeric_limits<int>::max() : column.goesAt; };
        const auto next = std::ranges::min_element(columns, {}, rank);
        if (next->goesAt == 0)
            break;
        gone.emplace_back(next->title);
        columns.erase(next);
    }
    for (Column& column : columns)
        if (const std::size_t line = LineWidth(columns);
            line > available && column.leastColumns != 0)
        {
            const std::size_t wanted = line - available;
            const std::size_t least = std::min(column.leastColumns, column.width);
            column.width = column.width > least + wanted ? column.width - wanted : least;
        }
    return gone;
}

/// The lines of a row of cells: as many as its most broken cell has.
std::vector<std::string> Lines(const std::vector<Column>& columns,
                               const std::vector<std::string>& cells)
{
    std::vector<std::vector<std::string>> pieces;
    std::size_t count = 1;
    for (std::size_t i = 0; i < columns.size(); ++i)
    {
        pieces.push_back(Host::Broken(cells[i], columns[i].width));
        count = std::max(count, pieces.back().size());
    }
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < count; ++at)
    {
        std::string line;
        for (std::size_t i = 0; i < columns.size(); ++i)
        {
            const std::string piece = at < pieces[i].size() ? pieces[i][at] : "";
            line += i == 0 ? "" : gap;
            line += columns[i].alignRight ? Host::PadLeft(piece, columns[i].width)
                                          : Host::PadRight(piece, columns[i].width);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(line);
    }
    return lines;
}

} // namespace

namespace Host
{

std::string DriveTable(const std::vector<Drive>& drives, const Limits& limits, const Style& style)
{
    std::vector<Column> columns = ChosenColumns(style.table.columns);
    std::vector<const Drive*> rows;
    for (const Drive& drive : drives)
        rows.push_back(&drive);
    Sort(rows, style.table.sort);
    if (rows.empty())
        return {};
    Measure(columns, rows, !style.table.columns.empty());
    std::vector<std::string> gone;
    if (!style.table.isWide)
        gone = FitInto(columns, style.columns);

    std::string text;
    std::vector<std::string> cells;
    for (const Column& column : columns)
        cells.emplace_back(column.title);
    if (style.table.hasHeader)
        text += noMark + Lines(columns, cells).front() + "\n";
    for (const Drive* drive : rows)
    {
        cells.clear();
        for (const Column& column : columns)
            cells.push_back(CellText(column, *drive));
        const bool isInTrouble = JudgementOf(*drive, limits).standing == Standing::Trouble;
        const char* mark = isInTrouble ? troubleMark : noMark;
        for (const std::string& line : Lines(columns, cells))
        {
            const std::string marked = mark + line;
            text +=
                (drive->object == nullptr ? marked : Emphasised(marked, *drive->object, style)) +
                "\n";
            mark = noMark;
        }
    }
    if (!gone.empty())
    {
        std::string titles;
        for (const std::string& title : gone)
            titles += (titles.empty() ? "" : ", ") + title;
        text += noMark + ("(no room for " + titles + "; --wide shows all)\n");
    }
    return text;
}

} // namespace Host
