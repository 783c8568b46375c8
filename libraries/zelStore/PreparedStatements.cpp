#include "libraries/zelStore/PreparedStatements.h"

namespace DatabaseWrapper::Internals
{

const PreparedStatement& PreparedStatements::Get(sqlite3* database, std::string_view text,
                                                 std::size_t values)
{
    if (const auto found = m_ByText.find(text); found != m_ByText.end())
    {
        m_Entries.splice(m_Entries.begin(), m_Entries, found->second);
        return m_Entries.front();
    }

    StatementHandle statement = Prepare(database, text, SQLITE_PREPARE_PERSISTENT);
    if (static_cast<std::size_t>(sqlite3_bind_parameter_count(statement.get())) != values)
        throw Failure{SQLITE_MISUSE, "statement refused: a parameter without a value"};
    if (m_Entries.size() == capacity)
    {
        m_ByText.erase(m_Entries.back().text);
        m_Entries.pop_back();
    }
    Entries fresh;
    fresh.push_back({std::string(text), std::move(statement), RowUpdate::Read(database, text)});
    m_ByText.emplace(fresh.front().text, fresh.begin());
    m_Entries.splice(m_Entries.begin(), fresh);
    return m_Entries.front();
}

void PreparedStatements::Clear()
{
    m_ByText.clear();
    m_Entries.clear();
}

} // namespace DatabaseWrapper::Internals
