#pragma once

#include "contracts/Export.h"

#include <exception>
#include <string>

namespace DBEXCEPTION
{

/// Every failure of the shared database: a statement that was refused, a file that cannot be used.
/// The text says what and where, and may be passed on to a log.
class ZELSTORE_API DatabaseException : public std::exception
{
  public:
    explicit DatabaseException(const std::string& text);
    ~DatabaseException() override;
    const char* what() const noexcept override;

  private:
    std::string m_Text;
};

} // namespace DBEXCEPTION
