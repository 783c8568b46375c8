// What goes wrong around a plug-in without being an error of it: a right that is missing to read
// disks, rows that the database does not take, settings that are not in effect.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Host
{

enum class TroubleKind
{
    Right,    ///< disks cannot be read
    Database, ///< rows are not written
    Settings, ///< a settings file cannot be read, or a value in one is wrong
};

struct Trouble
{
    TroubleKind kind;
    std::string line; ///< what is wrong, where, and what to do or what is in effect

    bool operator==(const Trouble&) const = default;
};

/// "right", "database" or "settings".
std::string_view NameOf(TroubleKind kind);

/// For one thread.
class Troubles
{
  public:
    /// To be made when the plug-in has read its settings: as they stand now they are taken to be in
    /// effect.
    Troubles();

    /// Asks anew, and tells on standard error of each trouble that was not there the last time, and
    /// of disks and rows that are well again.
    void Report();

    /// As of the last report.
    const std::vector<Trouble>& Current() const { return m_Current; }

    /// Whether there was one of this kind then.
    bool Has(TroubleKind kind) const;

  private:
    std::vector<Trouble> Ask() const;

    const std::vector<std::string> m_WrongSettings;
    std::vector<Trouble> m_Current;
};

} // namespace Host
