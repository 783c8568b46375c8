// What is remembered of the drives from one run to the next: a JSON file beside the database.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace Host
{

/// A drive that was seen, by its serial number.
struct SeenDrive
{
    std::string label;
    std::string model;
    std::optional<std::uint64_t> pendingSectors;
    std::optional<std::uint64_t> uncorrectableErrors;
};

using SeenDrives = std::map<std::string, SeenDrive>;

class StateFile
{
  public:
    /// @param name  of the file in the folder of the database; nothing is read or written when
    /// there
    ///              is no such folder
    explicit StateFile(const std::string& name);

    /// @return nothing when there is no file yet. @throws Failure for one that cannot be read or is
    ///         none of ours
    std::optional<SeenDrives> Read() const;

    /// Puts a new file in the place of the old one, in one step. @throws Failure
    void Write(const SeenDrives& drives) const;

    const std::string& Path() const { return m_Path; }

  private:
    std::string m_Path; ///< empty: there is no place for it
};

} // namespace Host
