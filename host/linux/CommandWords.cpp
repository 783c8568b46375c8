#include "host/linux/CommandWords.h"

#include "host/Failure.h"

#include <cstddef>
#include <string_view>

namespace Host
{

namespace
{

class Splitter
{
  public:
    explicit Splitter(const std::string& command) : m_Command(command) {}

    std::vector<std::string> Words()
    {
        for (; m_At < m_Command.size(); ++m_At)
            Take(m_Command[m_At]);
        EndWord();
        if (m_Words.empty() || m_Words.front().empty())
            Fail("names no program");
        return m_Words;
    }

  private:
    void Take(char c)
    {
        constexpr std::string_view blanks = " \t\n";
        constexpr std::string_view shellSigns = "|&;<>()$`";
        if (blanks.find(c) != blanks.npos)
            EndWord();
        else if (shellSigns.find(c) != shellSigns.npos)
            Fail(std::string("needs a shell for ") + c + " outside of quotes: sh -c '...'");
        else if (c == '\'' || c == '"')
            TakeQuoted(c);
        else
            Add(c == '\\' ? Next("a backslash at its end") : c);
    }

    void TakeQuoted(char quote)
    {
        constexpr std::string_view escapable = "\"\\$`";
        m_IsWord = true;
        for (;;)
        {
            const char c = Next("a quote that is not closed");
            if (c == quote)
                return;
            const bool isEscape = quote == '"' && c == '\\' && m_At + 1 < m_Command.size() &&
                                  escapable.find(m_Command[m_At + 1]) != escapable.npos;
            Add(isEscape ? Next("") : c);
        }
    }

    char Next(const char* fault)
    {
        if (++m_At >= m_Command.size())
            Fail(std::string("has ") + fault);
        return m_Command[m_At];
    }

    void Add(char c)
    {
        m_IsWord = true;
        m_Word += c;
    }

    void EndWord()
    {
        if (m_IsWord)
            m_Words.push_back(m_Word);
        m_IsWord = false;
        m_Word.clear();
    }

    [[noreturn]] void Fail(const std::string& reason) const
    {
        throw UsageFailure("--exec '" + m_Command + "' " + reason);
    }

    const std::string& m_Command;
    std::size_t m_At = 0;
    std::string m_Word;
    bool m_IsWord = false; ///< a word may be empty
    std::vector<std::string> m_Words;
};

} // namespace

std::vector<std::string> CommandWords(const std::string& command)
{
    return Splitter(command).Words();
}

} // namespace Host
