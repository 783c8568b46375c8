#include "host/Table.h"

#include "host/Lists.h"
#include "host/Text.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace
{

constexpr std::string_view gap = "  ";
constexpr std::size_t hang = 2; // marks the further pieces of a cell

} // namespace

namespace Host
{

Table::Table(const std::vector<TableColumn>& columns, const std::vector<Cells>& rows)
{
    for (std::size_t i = 0; i < columns.size(); ++i)
    {
        Column& column = m_Columns.emplace_back(Column{columns[i], {columns[i].title}, 0});
        for (const Cells& row : rows)
            column.cells.push_back(row[i]);
        for (const std::string& cell : column.cells)
            column.width = std::max(column.width, DisplayWidth(cell));
    }
}

void Table::FitInto(std::size_t available, bool mayLetGo)
{
    if (mayLetGo)
        LetColumnsGo(available);
    BreakCells(available);
}

std::size_t Table::Width() const
{
    std::size_t width = 0;
    for (const Column& column : m_Columns)
        width += column.width + gap.size();
    return width - std::min(width, gap.size());
}

std::size_t Table::ComfortWidth() const
{
    std::size_t width = Width();
    for (const Column& column : m_Columns)
        width -= column.width - column.Comfort();
    return width;
}

void Table::LetColumnsGo(std::size_t available)
{
    const auto rank = [](const Column& column)
    { return column.goesAt == 0 ? std::numeric_limits<int>::max() : column.goesAt; };
    for (;;)
    {
        const auto next = std::ranges::min_element(m_Columns, {}, rank);
        if (next == m_Columns.end() || next->goesAt == 0)
            return;
        const bool isSpared = next->goesAt >= TableColumn::afterBreaking;
        if ((isSpared ? ComfortWidth() : Width()) <= available)
            return;
        m_Gone.push_back(next->title);
        m_Columns.erase(next);
    }
}

void Table::BreakCells(std::size_t available)
{
    const auto spare = [](const Column& column)
    { return column.least != 0 && column.width > column.least ? column.width : 0; };
    while (Width() > available)
    {
        const auto widest = std::ranges::max_element(m_Columns, {}, spare);
        if (widest == m_Columns.end() || spare(*widest) == 0)
            return;
        --widest->width;
    }
}

std::vector<std::string> Table::LinesOf(std::size_t row) const
{
    std::vector<std::string> lines;
    std::size_t start = 0; // of the column
    for (const Column& column : m_Columns)
    {
        const std::size_t indent = column.alignRight ? 0 : hang;
        const Cells pieces = Broken(column.cells[row], column.width, indent);
        lines.resize(std::max(lines.size(), pieces.size()));
        for (std::size_t at = 0; at < pieces.size(); ++at)
        {
            const std::string piece = std::string(at == 0 ? 0 : indent, ' ') + pieces[at];
            lines[at] = PadRight(lines[at], start) +
                        (column.alignRight ? PadLeft(piece, column.width) : piece);
        }
        start += column.width + gap.size();
    }
    for (std::string& line : lines)
        line.erase(line.find_last_not_of(' ') + 1);
    return lines;
}

std::string GoneText(const Table& table, std::size_t columns, const std::string& indent)
{
    if (table.Gone().empty())
        return {};
    const std::string text =
        indent + "(no room for " + Joined(table.Gone(), ", ") + "; --wide shows all)";
    return Wrapped(text, columns, indent + "  ") + "\n";
}

} // namespace Host
