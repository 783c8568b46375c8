// The values of a statement's text, taken out of it.
//
// SQLite takes a text in double quotes for a column where there is one of that name. Nothing is
// left to that guess: values leave the text and are bound.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace DatabaseWrapper::Internals
{

/// The digits of an integer that no 64 bits hold.
struct Digits
{
    std::string_view text;
};

/// A value. Texts lie in the string that was read.
using Literal = std::variant<std::nullptr_t, std::int64_t, double, std::string_view, Digits>;

enum class StatementKind
{
    Pragma,
    Rows,  ///< reads or changes rows: its values were taken out
    Other, ///< stands as it was given
};

struct StatementPart
{
    StatementKind kind;
    std::string_view text; ///< in the string that was read; of Rows, in the reader
};

/// Reads one text after the other, in storage that it keeps.
class StatementReader
{
  public:
    /// Takes a text apart: pragmas, and behind them at most one other statement, so that a text
    /// that breaks out of its quotes brings in no second one. Doubled quotes within values are
    /// undone in the text itself. What Parts and Literals give is good until the text goes or
    /// another is read.
    /// @throws Failure for a second statement, and for quotes without end
    void Read(std::string& text);

    const std::vector<StatementPart>& Parts() const { return m_Parts; }

    /// The values of the statement of kind Rows; a "?" stands in its text for each.
    const std::vector<Literal>& Literals() const { return m_Literals; }

  private:
    bool SkipComment();
    void SkipToStatement();
    void ReadPart();
    void ReadRows();
    void ReadAsItStands();
    void ReadWord();
    bool ReadNumber();
    std::string_view ReadText();
    char* FindQuote(char* from, char quote) const;
    void SkipQuoted(char closing);
    bool Next(std::size_t ahead, bool (*is)(char)) const;
    void Take(char* begin, Literal value);

    std::vector<StatementPart> m_Parts;
    std::vector<Literal> m_Literals;
    std::string m_Rows; ///< what remains of the statement of kind Rows

    // Of the text being read.
    char* m_At = nullptr;
    char* m_End = nullptr;
    char* m_Copied = nullptr;      ///< up to here the statement has gone to m_Rows
    bool m_ValueMayFollow = false; ///< behind "=", "(" or ",": a sign belongs to its number
    bool m_KeepsNumbers = false;   ///< behind ORDER BY and GROUP BY a number is a column's place
};

} // namespace DatabaseWrapper::Internals
