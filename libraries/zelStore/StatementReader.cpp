#include "libraries/zelStore/StatementReader.h"

#include "libraries/zelStore/Sqlite.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace DatabaseWrapper::Internals
{
namespace
{

enum class Class : std::uint8_t
{
    Sign, ///< all that has no meaning of its own
    Blank,
    Word,
    Digit,
};

constexpr auto classes = []
{
    std::array<Class, 256> table{};
    for (const char letter : {' ', '\t', '\n', '\f', '\r'})
        table[static_cast<unsigned char>(letter)] = Class::Blank;
    for (unsigned letter = 0; letter < table.size(); ++letter)
        if ((letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z') || letter == '_' ||
            letter == '$' || letter >= 0x80)
            table[letter] = Class::Word;
        else if (letter >= '0' && letter <= '9')
            table[letter] = Class::Digit;
    return table;
}();

Class ClassOf(char letter)
{
    return classes[static_cast<unsigned char>(letter)];
}

// Not functions: through a pointer to one, every byte would cost a call.
constexpr auto IsDigit = [](char letter) { return ClassOf(letter) == Class::Digit; };
constexpr auto IsWordByte = [](char letter) { return ClassOf(letter) >= Class::Word; };

/// @param upper  in upper case
bool IsWord(std::string_view word, std::string_view upper)
{
    return word.size() == upper.size() &&
           std::equal(word.begin(), word.end(), upper.begin(),
                      [](char letter, char wanted) {
                          return (letter >= 'a' && letter <= 'z' ? letter - 'a' + 'A' : letter) ==
                                 wanted;
                      });
}

StatementKind KindOf(std::string_view firstWord)
{
    constexpr std::string_view ofRows[] = {"SELECT",  "INSERT", "UPDATE", "DELETE",
                                           "REPLACE", "WITH",   "VALUES"};
    if (IsWord(firstWord, "PRAGMA"))
        return StatementKind::Pragma;
    for (const std::string_view word : ofRows)
        if (IsWord(firstWord, word))
            return StatementKind::Rows;
    return StatementKind::Other;
}

[[noreturn]] void Refuse(const char* reason)
{
    throw Failure{SQLITE_MISUSE, std::string("statement refused: ") + reason};
}

} // namespace

void StatementReader::Read(std::string& text)
{
    m_Parts.clear();
    m_Literals.clear();
    m_Rows.clear();
    m_At = text.data();
    m_End = m_At + text.size();
    for (SkipToStatement(); m_At != m_End; SkipToStatement())
        ReadPart();
}

bool StatementReader::Next(std::size_t ahead, bool (*is)(char)) const
{
    return static_cast<std::size_t>(m_End - m_At) > ahead && is(m_At[ahead]);
}

/// @return false where no comment begins
bool StatementReader::SkipComment()
{
    const std::string_view rest(m_At, m_End);
    std::size_t end;
    if (rest.starts_with("--"))
        end = rest.find('\n');
    else if (rest.starts_with("/*") && rest.size() > 2) // at the very end it is none for SQLite
    {
        end = rest.find("*/", 2);
        if (end != rest.npos)
            end += 2;
    }
    else
        return false;
    m_At += std::min(end, rest.size());
    return true;
}

void StatementReader::SkipToStatement()
{
    while (m_At != m_End)
        if (ClassOf(*m_At) == Class::Blank || *m_At == ';')
            ++m_At;
        else if (!SkipComment())
            return;
}

void StatementReader::ReadPart()
{
    char* const begin = m_At;
    const StatementKind kind = KindOf({begin, std::find_if_not(begin, m_End, IsWordByte)});
    if (!m_Parts.empty() && m_Parts.back().kind != StatementKind::Pragma)
        Refuse("only pragmas may stand beside a statement, and only before it");
    if (kind == StatementKind::Rows)
    {
        ReadRows();
        m_Parts.push_back({kind, m_Rows});
    }
    else
    {
        ReadAsItStands();
        m_Parts.push_back({kind, {begin, m_At}});
    }
}

void StatementReader::ReadAsItStands()
{
    while (m_At != m_End && *m_At != ';')
        switch (*m_At)
        {
        case '"':
        case '\'':
        case '`':
            SkipQuoted(*m_At);
            break;
        case '[':
            SkipQuoted(']');
            break;
        case '\0':
            Refuse("a NUL byte outside of quotes");
        default:
            if (!SkipComment())
                ++m_At;
        }
}

void StatementReader::ReadRows()
{
    m_Copied = m_At;
    m_ValueMayFollow = false;
    m_KeepsNumbers = false;
    while (m_At != m_End && *m_At != ';')
    {
        char* const begin = m_At;
        switch (ClassOf(*m_At))
        {
        case Class::Blank:
            ++m_At;
            continue;
        case Class::Word:
            ReadWord();
            continue;
        case Class::Digit:
            ReadNumber();
            continue;
        case Class::Sign:
            break;
        }
        switch (*m_At)
        {
        case '"':
        case '\'':
        {
            const std::string_view text = ReadText();
            Take(begin, text);
            break;
        }
        case '`':
            SkipQuoted('`');
            break;
        case '[':
            SkipQuoted(']');
            break;
        case '?':
            ++m_At;
            Take(begin, nullptr);
            break;
        case '=':
        case '(':
        case ',':
            ++m_At;
            m_ValueMayFollow = true;
            continue;
        case '\0':
            Refuse("a NUL byte outside of quotes");
        case '-':
        case '/':
            if (SkipComment())
            {
                m_Rows.append(m_Copied, begin).append(1, ' ');
                m_Copied = m_At;
                continue;
            }
            [[fallthrough]];
        case '+':
        case '.':
            if (ReadNumber())
                continue;
            [[fallthrough]];
        default:
            ++m_At;
        }
        m_ValueMayFollow = false;
    }
    m_Rows.append(m_Copied, m_At);
}

void StatementReader::ReadWord()
{
    char* const begin = m_At;
    m_At = std::find_if_not(begin, m_End, IsWordByte);
    const std::string_view word(begin, m_At);
    if (word.size() == 1 && (*begin == 'x' || *begin == 'X') && m_At != m_End && *m_At == '\'')
        SkipQuoted('\'');
    else if (m_ValueMayFollow && IsWord(word, "NULL"))
        Take(begin, nullptr);
    else if (word.size() == 5 && (IsWord(word, "ORDER") || IsWord(word, "GROUP")))
        m_KeepsNumbers = true;
    m_ValueMayFollow = false;
}

/// Reads a number, with its sign where that belongs to it. What is no number for SQLite either, or
/// one that only SQLite reads, stays in the text.
/// @return false where no number begins
bool StatementReader::ReadNumber()
{
    char* const begin = m_At;
    const bool hasSign = *begin == '-' || *begin == '+';
    const std::size_t first = hasSign ? 1 : 0;
    if ((hasSign && !m_ValueMayFollow) ||
        !(Next(first, IsDigit) ||
          (Next(first, [](char letter) { return letter == '.'; }) && Next(first + 1, IsDigit))))
        return false;

    m_At = std::find_if_not(begin + first, m_End, IsDigit);
    bool isReal = false;
    if (m_At != m_End && *m_At == '.')
    {
        isReal = true;
        m_At = std::find_if_not(m_At + 1, m_End, IsDigit);
    }
    if (m_At != m_End && (*m_At == 'e' || *m_At == 'E'))
    {
        const auto isSign = [](char letter) { return letter == '-' || letter == '+'; };
        const std::size_t exponent = Next(1, isSign) ? 2 : 1;
        if (Next(exponent, IsDigit))
        {
            isReal = true;
            m_At = std::find_if_not(m_At + exponent, m_End, IsDigit);
        }
    }
    m_ValueMayFollow = false;

    char* const end = m_At;
    m_At = std::find_if_not(end, m_End, IsWordByte);
    if (m_At != end || m_KeepsNumbers)
        return true;
    char* const digits = *begin == '+' ? begin + 1 : begin;
    std::int64_t integer = 0;
    double real = 0;
    if (!isReal && std::from_chars(digits, end, integer).ec == std::errc())
        Take(begin, integer);
    else if (!isReal)
        Take(begin, Digits{{digits, end}});
    else if (std::from_chars(digits, end, real).ec == std::errc())
        Take(begin, real);
    return true;
}

char* StatementReader::FindQuote(char* from, char quote) const
{
    void* found = std::memchr(from, quote, static_cast<std::size_t>(m_End - from));
    if (found == nullptr)
        Refuse("quotes without end");
    return static_cast<char*>(found);
}

/// A text between quotes, the doubled ones undone.
std::string_view StatementReader::ReadText()
{
    const char quote = *m_At;
    char* const begin = m_At + 1;
    char* written = FindQuote(begin, quote);
    for (m_At = written + 1; m_At != m_End && *m_At == quote;)
    {
        *written++ = quote;
        char* const piece = m_At + 1;
        char* const next = FindQuote(piece, quote);
        const auto length = static_cast<std::size_t>(next - piece);
        std::memmove(written, piece, length);
        written += length;
        m_At = next + 1;
    }
    return {begin, written};
}

/// Passes a quoted piece that stays in the text. A doubled quote reads as two such pieces.
void StatementReader::SkipQuoted(char closing)
{
    m_At = FindQuote(m_At + 1, closing) + 1;
}

/// Puts a "?" in the place of what was read from begin on. Digits right behind it would be its
/// number.
void StatementReader::Take(char* begin, Literal value)
{
    m_Rows.append(m_Copied, begin).append(Next(0, IsWordByte) ? "? " : "?");
    m_Copied = m_At;
    m_Literals.push_back(value);
}

} // namespace DatabaseWrapper::Internals
