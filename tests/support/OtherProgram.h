// The rows as another program sees them.
#pragma once

#include <memory>
#include <string>
#include <vector>

struct sqlite3;

namespace Support
{

/// A connection of another program.
class OtherProgram
{
  public:
    explicit OtherProgram(const std::string& file);
    /// @return a text a row, "|" between its cells
    std::vector<std::string> Run(const std::string& sql);

  private:
    std::shared_ptr<sqlite3> m_Connection;
};

/// All rows of the four tables without their ids, sorted.
std::vector<std::string> AllRows(const std::string& file);

} // namespace Support
