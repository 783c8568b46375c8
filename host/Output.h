// Standard output, kept for the answer alone.
//
// A plug-in prints on standard output as it likes. So the real one is set aside and file
// descriptor 1 points to standard error from then on; the answer is written to the one set aside.
#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <string_view>

namespace Host
{

enum class ColourMode
{
    Auto, ///< as the environment asks for, else on a terminal
    Always,
    Never,
};

/// A narrower terminal is written to as if it had these.
constexpr std::size_t leastColumns = 40;

class Output
{
  public:
    /// Takes standard output over. To be made once, before any plug-in is loaded.
    Output();
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Writes all of it, at once. Nothing is written any more once the reader of a pipe is gone: it
    /// has what it wanted. @throws Failure for any other reason not to write
    void Write(std::string_view text);

    /// Ends the output; some file systems tell of a failure only here.
    void Close();

    /// False when standard output was closed from the start.
    bool IsOpen() const { return m_Channel != nullptr; }

    /// Where it goes to, as the system has it.
    class Channel;
    Channel& GetChannel() const { return *m_Channel; }

    /// Until this is called, nothing is coloured.
    void SetColour(ColourMode mode);
    bool IsColoured() const { return m_Coloured; }
    bool IsTerminal() const { return m_IsTerminal; }
    /// Columns of the terminal; without end when it is none, so that no line is broken for
    /// programs.
    std::size_t Columns() const { return m_Columns; }

  private:
    /// Makes a terminal take colours. @return false when it cannot
    bool TakeColour();

    std::unique_ptr<Channel> m_Channel;
    bool m_IsTerminal = false;
    bool m_Coloured = false;
    std::size_t m_Columns = std::numeric_limits<std::size_t>::max();
};

/// Prints on standard error: one line, made safe.
void PrintError(std::string_view line);

/// The same for what this program has to say: "tarnisctl: ...".
void Complain(std::string_view line);

} // namespace Host
