// What a plug-in prints on standard output, kept for a while; linux/ and windows/ hold the ways.
#pragma once

#include <string>

namespace Host
{

/// From its making on, what is printed on descriptor 1 is kept; where the system has no place for
/// it, it goes its usual way. One at a time.
class PrintedText
{
  public:
    PrintedText();
    ~PrintedText();
    PrintedText(const PrintedText&) = delete;
    PrintedText& operator=(const PrintedText&) = delete;

    /// Ends the keeping. @return what was kept
    std::string Take();

  private:
    void End();

    int m_File = -1;   ///< what is printed goes there
    int m_Output = -1; ///< descriptor 1 as it was; -1: it is in its place
};

} // namespace Host
