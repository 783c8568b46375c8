#include "host/Text.h"

#include <boost/algorithm/string/replace.hpp>
#include <utf8proc.h>

#include <algorithm>

namespace
{

/// What stands at a position: a character, or a sequence that colours.
struct Item
{
    char32_t code;
    std::size_t bytes;
    std::size_t columns;
};

Item ItemAt(std::string_view text, std::size_t position)
{
    const ZKT::Misc::CCharacter c = ZKT::Misc::DecodeUtf8(text, position);
    if (c.code == '\x1b')
        return {c.code, std::min(text.find('m', position), text.size() - 1) + 1 - position, 0};
    const int columns = utf8proc_charwidth(static_cast<utf8proc_int32_t>(c.code));
    return {c.code, std::max<std::size_t>(c.length, 1),
            static_cast<std::size_t>(std::max(columns, 0))};
}

std::size_t LeadingBlanks(std::string_view text)
{
    return std::min(text.find_first_not_of(' '), text.size());
}

/// Bytes of the longest beginning of that width that looks well; at least one character.
std::size_t FittingBytes(std::string_view printable, std::size_t columns)
{
    const std::size_t blanks = LeadingBlanks(printable);
    std::size_t used = 0;
    std::size_t end = 0;
    std::size_t seam = 0; // behind the last character after which a break looks well
    while (end < printable.size())
    {
        const Item item = ItemAt(printable, end);
        used += item.columns;
        if (used > columns && end != 0)
            return seam == 0 || item.code == ' ' ? end : seam;
        end += item.bytes;
        const bool isJoint = (item.code == '-' || item.code == '_') && used * 2 > columns;
        if (end > blanks && (item.code == ' ' || isJoint))
            seam = end;
    }
    return end;
}

/// Fills lines with words.
class LineFiller
{
  public:
    LineFiller(std::size_t columns, std::string_view indent)
        : m_Columns(std::max(columns, indent.size() + leastRoom)), m_Indent(indent)
    {
    }

    void Append(std::string_view piece)
    {
        m_Text += piece;
        m_Used += Host::DisplayWidth(piece);
    }

    /// @param word  with the blanks in front of it, which are left out where it begins a line
    void AddWord(std::string_view word)
    {
        const std::size_t blanks = LeadingBlanks(word);
        if (blanks != 0 && !HasRoomFor(word))
        {
            BeginLine();
            word.remove_prefix(blanks);
        }
        while (!HasRoomFor(word))
        {
            const std::size_t bytes = FittingBytes(word, m_Columns - std::min(m_Columns, m_Used));
            Append(word.substr(0, bytes));
            word.remove_prefix(bytes);
            BeginLine();
        }
        Append(word);
    }

    const std::string& Text() const { return m_Text; }

  private:
    static constexpr std::size_t leastRoom = 8; // of a text that is indented beyond the line

    bool HasRoomFor(std::string_view piece) const
    {
        return m_Used + Host::DisplayWidth(piece) <= m_Columns;
    }

    void BeginLine()
    {
        m_Text += '\n';
        m_Text += m_Indent;
        m_Used = m_Indent.size();
    }

    std::size_t m_Columns;
    std::string_view m_Indent;
    std::string m_Text;
    std::size_t m_Used = 0; // columns of the line under way
};

} // namespace

namespace Host
{

std::string Printable(std::string_view bytes)
{
    std::string text(bytes);
    if (ZKT::Misc::IsKeptToAscii())
        boost::replace_all(text, " °C", " C");
    return ZKT::Misc::Printable(text);
}

std::size_t DisplayWidth(std::string_view printable)
{
    std::size_t columns = 0;
    for (std::size_t i = 0; i < printable.size();)
    {
        const Item item = ItemAt(printable, i);
        columns += item.columns;
        i += item.bytes;
    }
    return columns;
}

std::vector<std::string> Broken(const std::string& printable, std::size_t columns, std::size_t hang)
{
    std::vector<std::string> pieces;
    std::string_view rest = printable;
    for (std::size_t room = columns; DisplayWidth(rest) > room; room = columns - hang)
    {
        const std::size_t bytes = FittingBytes(rest, room);
        pieces.emplace_back(rest.substr(0, bytes));
        rest.remove_prefix(bytes);
        rest.remove_prefix(LeadingBlanks(rest));
    }
    if (!rest.empty() || pieces.empty())
        pieces.emplace_back(rest);
    return pieces;
}

std::string Wrapped(std::string_view printable, std::size_t columns, std::string_view indent)
{
    LineFiller lines(columns, indent);
    const std::size_t margin = LeadingBlanks(printable);
    lines.Append(printable.substr(0, margin));
    printable.remove_prefix(margin);
    while (!printable.empty())
    {
        const std::size_t end = printable.find(' ', LeadingBlanks(printable));
        const std::string_view word = printable.substr(0, end);
        lines.AddWord(word);
        printable.remove_prefix(word.size());
    }
    return lines.Text();
}

std::string WithoutLeadingBlanks(const std::string& text)
{
    return text.substr(LeadingBlanks(text));
}

std::string PadRight(const std::string& printable, std::size_t columns)
{
    const std::size_t width = DisplayWidth(printable);
    return printable + std::string(columns > width ? columns - width : 0, ' ');
}

std::string PadLeft(const std::string& printable, std::size_t columns)
{
    const std::size_t width = DisplayWidth(printable);
    return std::string(columns > width ? columns - width : 0, ' ') + printable;
}

} // namespace Host
