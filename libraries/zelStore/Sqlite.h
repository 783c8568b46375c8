// SQLite's handles with their owners, and its failures as exceptions.
#pragma once

#include <cstdint>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace DatabaseWrapper::Internals
{

/// What is thrown inside this library. It never leaves it: query makes a DatabaseException of it
/// and adds the file.
struct Failure
{
    int code; ///< SQLite's primary result code; SQLITE_MISUSE for a text that SQLite never saw
    std::string text;
};

/// What to do about a file that cannot be used as our database.
inline constexpr const char* remedy = "; move it away or name another file in TARNIS_DATABASE";

struct DatabaseCloser
{
    void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct StatementFinalizer
{
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

/// To be destroyed after all statements of the database.
using DatabaseHandle = std::unique_ptr<sqlite3, DatabaseCloser>;
using StatementHandle = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

/// @throws Failure with the database's own message; std::bad_alloc when memory ran out
[[noreturn]] void Fail(sqlite3* database, int result);

/// Fails on every result but SQLITE_OK.
inline void Check(sqlite3* database, int result)
{
    if (result != SQLITE_OK)
        Fail(database, result);
}

/// Makes a statement of the whole text; null for a text without one. Fails when something is left
/// behind the statement.
/// @param flags  of sqlite3_prepare_v3
StatementHandle Prepare(sqlite3* database, std::string_view text, unsigned flags = 0);

/// Ends a statement's run, and with it its locks.
struct RunEnd
{
    sqlite3_stmt* statement;

    explicit RunEnd(sqlite3_stmt* running) : statement(running) {}
    ~RunEnd() { sqlite3_reset(statement); }
    RunEnd(const RunEnd&) = delete;
    RunEnd& operator=(const RunEnd&) = delete;
};

/// Carries statements out and drops their rows.
void Execute(sqlite3* database, const char* statements);

/// The first cell of a result.
std::int64_t ReadNumber(sqlite3* database, const char* statement);

/// Rolls back what was neither committed nor ended by a failure.
struct RollbackGuard
{
    sqlite3* database;

    explicit RollbackGuard(sqlite3* inTransaction) : database(inTransaction) {}
    ~RollbackGuard();
    RollbackGuard(const RollbackGuard&) = delete;
    RollbackGuard& operator=(const RollbackGuard&) = delete;
};

/// A transaction that is rolled back unless it was committed.
class Transaction
{
  public:
    Transaction(sqlite3* database, const char* begin);

    void Commit();

  private:
    RollbackGuard m_Rollback;
};

} // namespace DatabaseWrapper::Internals
