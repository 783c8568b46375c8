// Standard output, kept for the answer alone.
//
// A plug-in prints on standard output as it likes. So the real one is set aside and file
// descriptor 1 points to standard error from then on; the answer is written to the one set aside.
#pragma once

#include <cstddef>
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

    /// What is written to; -1 when standard output was closed from the start.
    int Descriptor() const { return m_Descriptor; }

    bool IsColoured() const { return m_Coloured; }
    /// Columns of the terminal; 120 when it is none.
    std::size_t Columns() const { return m_Columns; }

  private:
    int m_Descriptor;
    bool m_Coloured = false;
    std::size_t m_Columns = 120;
};

/// Prints "tarnisctl: ..." on standard error: one line, made safe.
void Complain(std::string_view line);

} // namespace Host
