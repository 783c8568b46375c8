// What a check has found: how bad it is, in words and as exit codes that monitoring systems know.
#pragma once

#include "host/Failure.h"

#include <string>
#include <vector>

namespace Host
{

/// Ordered by the precedence of the guidelines' readers: the worse, the higher.
enum class CheckStatus
{
    Ok,
    Warning,
    Unknown,
    Critical,
};

ExitCode ExitCodeOf(CheckStatus status);

/// "OK", "WARNING"
const char* NameOf(CheckStatus status);

struct Finding
{
    CheckStatus status;
    std::string text; ///< a sentence; texts of a drive stand in it as they are
};

class Findings
{
  public:
    void Add(CheckStatus status, const std::string& text);

    /// What is to be done, if this is the worst status.
    void Advise(CheckStatus status, const std::string& text);

    CheckStatus Worst() const;
    /// The worst first.
    const std::vector<Finding>& All() const { return m_All; }
    const std::string& Advice() const { return m_Advice; }

    /// "TARNIS OK - 2 drives well": all of it in one safe line, without its end.
    std::string Line() const;

  private:
    std::vector<Finding> m_All;
    std::string m_Advice;
};

} // namespace Host
