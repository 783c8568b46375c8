// Standard output, kept for the answer alone.
//
// A plug-in prints on standard output as it likes. So the real one is set aside and file
// descriptor 1 points to standard error from then on; the answer is written to the one set aside.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace Host
{

class Output
{
  public:
    /// Takes standard output over. To be made once, before any plug-in is loaded.
    Output();
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Writes all of it, at once. A Failure when that is not possible.
    void Write(std::string_view text);

    /// Ends the output; some file systems tell of a failure only here.
    void Close();

    /// False when standard output was closed from the start.
    bool IsOpen() const { return m_Channel != nullptr; }

    /// Where it goes to, as the system has it.
    class Channel;
    Channel& GetChannel() const { return *m_Channel; }

    bool IsColoured() const { return m_Coloured; }
    /// Columns of the terminal; 120 when it is none.
    std::size_t Columns() const { return m_Columns; }

  private:
    std::unique_ptr<Channel> m_Channel;
    bool m_Coloured = false;
    std::size_t m_Columns = 120;
};

/// Whether the environment asks for plain text.
bool RefusesColour();

/// Prints "tarnisctl: ..." on standard error: one line, made safe.
void Complain(std::string_view line);

} // namespace Host
