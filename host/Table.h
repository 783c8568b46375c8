// Columns of texts, aligned and made to fit a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Host
{

struct TableColumn
{
    /// A column with this goesAt or a higher one goes only when breaking cells is not enough.
    static constexpr int afterBreaking = 10;

    std::string title;
    bool alignRight = false;
    std::size_t comfort =
        0;                 ///< columns to break cells to rather than let another column go; 0: none
    std::size_t least = 0; ///< columns to break cells to at worst; 0: they stay whole
    int goesAt = 0;        ///< order in which columns go for want of room; 0: it stays
};

class Table
{
  public:
    using Cells = std::vector<std::string>;

    /// @param rows  printable texts, one for each column
    Table(const std::vector<TableColumn>& columns, const std::vector<Cells>& rows);

    /// Lets columns go, breaks cells, or both, until the lines have at most so many columns.
    void FitInto(std::size_t available, bool mayLetGo);

    /// The titles of the columns that had to go.
    const std::vector<std::string>& Gone() const { return m_Gone; }

    /// A row's lines, as many as its most broken cell takes.
    std::vector<std::string> TitleLines() const { return LinesOf(0); }
    std::vector<std::string> RowLines(std::size_t row) const { return LinesOf(row + 1); }

  private:
    struct Column : TableColumn
    {
        Cells cells; ///< the title first
        std::size_t width = 0;
        /// Of a cell that need not be read at one glance.
        std::size_t Comfort() const { return comfort == 0 || comfort > width ? width : comfort; }
    };

    std::size_t Width() const;
    std::size_t ComfortWidth() const;
    void LetColumnsGo(std::size_t available);
    void BreakCells(std::size_t available);
    std::vector<std::string> LinesOf(std::size_t row) const;

    std::vector<Column> m_Columns;
    std::vector<std::string> m_Gone;
};

/// What to say of columns that had to go, over as many lines as it takes; empty when there are
/// none.
std::string GoneText(const Table& table, std::size_t columns, const std::string& indent);

} // namespace Host
