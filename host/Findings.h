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
    std::string text;   ///< a sentence; texts of a drive stand in it as they are
    std::string advice; ///< what is to be done about it; empty: the sentence says so
};

class Findings
{
  public:
    void Add(CheckStatus status, const std::string& text, const std::string& advice = "");

    CheckStatus Worst() const;
    /// The worst first.
    const std::vector<Finding>& All() const { return m_All; }
    /// Of the worst ones, each once.
    std::string Advice() const;

    /// "TARNIS OK - 2 drives well": all of it in one safe line, without its end.
    std::string Line() const;

  private:
    std::vector<Finding> m_All;
};

} // namespace Host
