#include "tests/support/OtherProgram.h"

#include <algorithm>
#include <sqlite3.h>
#include <stdexcept>

namespace Support
{

using Texts = std::vector<std::string>;

OtherProgram::OtherProgram(const std::string& file)
{
    sqlite3* connection = nullptr;
    const int result = sqlite3_open_v2(file.c_str(), &connection, SQLITE_OPEN_READWRITE, nullptr);
    m_Connection.reset(connection, &sqlite3_close);
    if (result != SQLITE_OK)
        throw std::runtime_error(file + ": " + sqlite3_errmsg(connection));
    sqlite3_busy_timeout(connection, 60000);
}

Texts OtherProgram::Run(const std::string& sql)
{
    Texts rows;
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(m_Connection.get(), sql.c_str(), -1, &statement, nullptr);
    int result = SQLITE_ERROR;
    while (statement != nullptr && (result = sqlite3_step(statement)) == SQLITE_ROW)
    {
        std::string& row = rows.emplace_back();
        for (int i = 0; i < sqlite3_column_count(statement); ++i)
        {
            const bool isNull = sqlite3_column_type(statement, i) == SQLITE_NULL;
            const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, i));
            const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, i));
            row += i == 0 ? "" : "|";
            row += isNull ? "NULL" : std::string(bytes, bytes + size);
        }
    }
    sqlite3_finalize(statement);
    if (result != SQLITE_DONE)
        throw std::runtime_error(sql + ": " + sqlite3_errmsg(m_Connection.get()));
    return rows;
}

Texts AllRows(const std::string& file)
{
    Texts rows;
    for (const std::string table : {"raid_plugin", "raid_adapter", "raid_pd", "raid_partition"})
        for (const std::string& row : OtherProgram(file).Run("SELECT * FROM " + table))
            rows.push_back(table + row.substr(row.find('|')));
    std::ranges::sort(rows);
    return rows;
}

} // namespace Support
