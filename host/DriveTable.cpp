#include "host/Failure.h"
#include "host/Lifetime.h"
#include "host/Lists.h"
#include "host/Names.h"
#include "host/PropertyText.h"
#include "host/ShowText.h"
#include "host/Table.h"
#include "host/Text.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace
{

using Host::Drive;

struct Column
{
    const char* key; ///< as a person asks for it
    Host::TableColumn layout;
    std::string (*cell)(const Drive& drive);                       ///< empty: there is no value
    std::optional<double> (*number)(const Drive& drive) = nullptr; ///< to sort by; null: its text
    bool isUsual = true;                                           // shown without being asked for
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

std::string LastsUntilCell(const Drive& drive)
{
    return Host::IsFarOff(drive.lastsUntil) ? Host::farOff : drive.lastsUntil;
}

std::string SizeCell(const std::optional<std::uint64_t>& bytes)
{
    return bytes ? Host::DecimalSize(*bytes) : std::string();
}

std::vector<Column> AllColumns()
{
    using Layout = Host::TableColumn;
    constexpr int atLast = Layout::afterBreaking;
    return {
        {"disk", Layout{"DISK", false, 0, 14, 0}, [](const Drive& d) { return d.label; },
         [](const Drive& d) { return ToDouble(d.number); }},
        {"name", Layout{"NAME", false, 0, 8, 6}, [](const Drive& d) { return d.systemName; }},
        {"status", Layout{"STATUS", false, 0, 8, 0}, Host::StateWords},
        {"model", Layout{"MODEL", false, 20, 8, 0}, [](const Drive& d) { return d.model; }},
        {"serial", Layout{"SERIAL", false, 0, 8, 2}, [](const Drive& d) { return d.serial; }},
        {"firmware", Layout{"FIRMWARE", false, 0, 8, 0}, [](const Drive& d) { return d.firmware; },
         nullptr, false},
        {"size", Layout{"SIZE", true, 0, 0, atLast + 3},
         [](const Drive& d) { return SizeCell(d.bytes); },
         [](const Drive& d) { return ToDouble(d.bytes); }},
        {"media", Layout{"MEDIA", false, 0, 0, 3},
         [](const Drive& d) {
             return std::string(!d.IsAnswering() ? "" : d.isSsd ? "SSD" : "HDD");
         }},
        {"temp", Layout{"TEMP", true, 0, 0, atLast + 2}, TemperatureCell,
         [](const Drive& d) { return ToDouble(d.temperature); }},
        {"hours", Layout{"HOURS", true, 0, 0, 4},
         [](const Drive& d) { return d.hours ? std::to_string(*d.hours) + " h" : std::string(); },
         [](const Drive& d) { return ToDouble(d.hours); }},
        {"written", Layout{"WRITTEN", true, 0, 0, 1},
         [](const Drive& d) { return SizeCell(d.bytesWritten); },
         [](const Drive& d) { return ToDouble(d.bytesWritten); }},
        {"used", Layout{"USED", true, 0, 0, atLast + 1},
         [](const Drive& d) { return Percent(d.used); },
         [](const Drive& d) { return ToDouble(d.used); }},
        {"reserve", Layout{"RESERVE", true, 0, 0, atLast},
         [](const Drive& d) { return Percent(d.reserve); },
         [](const Drive& d) { return ToDouble(d.reserve); }},
        {"lasts", Layout{"LASTS UNTIL", true, 0, 10, 5}, LastsUntilCell},
    };
}

std::string CellText(const Column& column, const Drive& drive)
{
    const std::string text = Host::Printable(column.cell(drive));
    return text.empty() ? "-" : text;
}

/// By its key or its title, in any spelling.
const Column& FindColumn(const std::vector<Column>& columns, const std::string& key)
{
    const std::string name = Host::NormalName(key);
    for (const Column& column : columns)
        if (name == Host::NormalName(column.key) || name == Host::NormalName(column.layout.title))
            return column;
    std::vector<std::string> keys;
    for (const Column& column : columns)
        keys.emplace_back(column.key);
    throw Host::UsageFailure("'" + key + "' is no column (columns: " + Host::Joined(keys, ", ") +
                             ")" + Host::DidYouMean(Host::SimilarNames(key, keys)));
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

/// The table of these drives, without the columns in which none of them has a value.
/// @param keepsEmpty  they stay all the same
Host::Table TableOf(const std::vector<Column>& columns, const std::vector<const Drive*>& drives,
                    bool keepsEmpty)
{
    std::vector<Host::TableColumn> layouts;
    std::vector<Host::Table::Cells> rows(drives.size());
    for (const Column& column : columns)
    {
        Host::Table::Cells cells;
        for (const Drive* drive : drives)
            cells.push_back(CellText(column, *drive));
        if (!keepsEmpty && std::ranges::count(cells, "-") == std::ssize(cells))
            continue;
        layouts.push_back(column.layout);
        for (std::size_t row = 0; row < rows.size(); ++row)
            rows[row].push_back(cells[row]);
    }
    return {layouts, rows};
}

/// A row's lines with its mark.
std::string RowText(const std::vector<std::string>& lines, const Drive& drive,
                    const Host::Limits& limits, const Host::Style& style)
{
    const bool isInTrouble = Host::JudgementOf(drive, limits).standing == Host::Standing::Trouble;
    const char* mark = isInTrouble ? Host::troubleMark : Host::noMark;
    std::string text;
    for (const std::string& line : lines)
    {
        const std::string marked = mark + line;
        text +=
            (drive.object == nullptr ? marked : Host::Emphasised(marked, *drive.object, style)) +
            "\n";
        mark = Host::noMark;
    }
    return text;
}

} // namespace

namespace Host
{

std::string DriveTable(const std::vector<Drive>& drives, const Limits& limits, const Style& style)
{
    const std::vector<Column> columns = ChosenColumns(style.table.columns);
    const bool isChosen = !style.table.columns.empty();
    std::vector<const Drive*> rows;
    for (const Drive& drive : drives)
        rows.push_back(&drive);
    Sort(rows, style.table.sort);
    if (rows.empty())
        return {};
    Table table = TableOf(columns, rows, isChosen);
    if (!style.table.isWide)
        table.FitInto(style.columns - DisplayWidth(noMark), !isChosen);

    std::string text;
    if (style.table.hasHeader)
        for (const std::string& line : table.TitleLines())
            text += noMark + line + "\n";
    for (std::size_t row = 0; row < rows.size(); ++row)
        text += RowText(table.RowLines(row), *rows[row], limits, style);
    return text + GoneText(table, style.columns, noMark);
}

} // namespace Host
