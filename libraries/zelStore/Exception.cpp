#include "contracts/zelStore/Exception.h"
#include "contracts/zelStore/DatabaseDAO.h"

namespace DBEXCEPTION
{

DatabaseException::DatabaseException(const std::string& text) : m_Text(text) {}

DatabaseException::~DatabaseException() = default;

const char* DatabaseException::what() const noexcept
{
    return m_Text.c_str();
}

} // namespace DBEXCEPTION

namespace DatabaseWrapper
{

DatabaseDAO::DatabaseDAO() = default;

DatabaseDAO::~DatabaseDAO() = default;

} // namespace DatabaseWrapper
