// What is remembered from one run to the next: a JSON file beside the database.
#pragma once

#include "host/StateText.h"

#include <optional>
#include <string>

namespace Host
{

/// A text as it comes back from the file. What is compared with it has to be so, too.
std::string KeptText(const std::string& text);

class StateFile
{
  public:
    /// @param name    of the file in the folder of the database; nothing is read or written when
    ///                there is no such folder
    /// @param remedy  for one that cannot be read: "check --forget begins it anew"
    StateFile(const std::string& name, const std::string& remedy);

    /// @return nothing when there is no file yet. @throws Failure for one that cannot be read or is
    ///         not of this version
    std::optional<State> Read() const;

    /// Puts a new file in the place of the old one, in one step and with mode 0640. @throws Failure
    void Write(State state) const;

    /// For a file that holds JSON, but not what is kept there. @throws Failure
    [[noreturn]] void FailContent() const;

  private:
    std::string m_Path; ///< empty: there is no place for it
    std::string m_Remedy;
};

} // namespace Host
