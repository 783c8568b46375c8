#include "libraries/zelStore/Sqlite.h"

#include <limits>
#include <new>

namespace DatabaseWrapper::Internals
{

void Fail(sqlite3* database, int result)
{
    constexpr int primaryCode = 0xFF;
    const int code = result & primaryCode;
    if (code == SQLITE_NOMEM)
        throw std::bad_alloc();
    const bool told = database != nullptr && (sqlite3_errcode(database) & primaryCode) == code;
    std::string text = told ? sqlite3_errmsg(database) : sqlite3_errstr(code);
    if (code == SQLITE_NOTADB || code == SQLITE_CORRUPT)
        text += remedy;
    throw Failure{code, std::move(text)};
}

StatementHandle Prepare(sqlite3* database, std::string_view text, unsigned flags)
{
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw Failure{SQLITE_TOOBIG, "statement too long"};
    sqlite3_stmt* statement = nullptr;
    const char* rest = nullptr;
    Check(database, sqlite3_prepare_v3(database, text.data(), static_cast<int>(text.size()), flags,
                                       &statement, &rest));
    StatementHandle owner(statement);
    if (rest != text.data() + text.size())
        throw Failure{SQLITE_MISUSE, "something stands behind the statement"};
    return owner;
}

void Execute(sqlite3* database, const char* statements)
{
    Check(database, sqlite3_exec(database, statements, nullptr, nullptr, nullptr));
}

std::int64_t ReadNumber(sqlite3* database, const char* statement)
{
    const StatementHandle reader = Prepare(database, statement);
    const int result = sqlite3_step(reader.get());
    if (result != SQLITE_ROW)
        Fail(database, result);
    return sqlite3_column_int64(reader.get(), 0);
}

RollbackGuard::~RollbackGuard()
{
    if (sqlite3_get_autocommit(database) == 0)
        sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
}

Transaction::Transaction(sqlite3* database, const char* begin) : m_Rollback(database)
{
    Execute(database, begin);
}

void Transaction::Commit()
{
    Execute(m_Rollback.database, "COMMIT");
}

} // namespace DatabaseWrapper::Internals
