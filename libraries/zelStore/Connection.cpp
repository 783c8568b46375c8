#include "libraries/zelStore/Connection.h"

#include "contracts/zelStore/Exception.h"
#include "libraries/zelStore/Location.h"
#include "libraries/zelStore/OpenDatabase.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace DatabaseWrapper::Internals
{
namespace
{

/// Rows that the database ever took. Ids are never used twice, so that this only grows.
std::int64_t RowsGiven(sqlite3* database)
{
    return ReadNumber(database, "SELECT ifnull(sum(seq), 0) FROM sqlite_sequence");
}

/// Stands for the rows of a file that cannot tell: more than any other has.
constexpr std::int64_t unreadable = std::numeric_limits<std::int64_t>::max();

std::int64_t RowsGivenByMovedFile(sqlite3* database)
{
    try
    {
        return RowsGiven(database);
    }
    catch (const Failure& failure)
    {
        if (failure.code == SQLITE_BUSY)
            throw; // another process has it to itself, for now
        return unreadable;
    }
}

// Whoever wrote rows to the old file is to know that they may be missing here.
constexpr const char* otherFile =
    "another file was put in the database's place: rows may be missing, write them again";

// Texts lie in the statement that query was given, and are not copied. Nothing reads them after the
// statement was reset: it is not run again before all its values are bound anew.
struct Binder
{
    sqlite3_stmt* statement;
    int place;

    int operator()(std::nullptr_t) const { return sqlite3_bind_null(statement, place); }
    int operator()(std::int64_t value) const { return sqlite3_bind_int64(statement, place, value); }
    int operator()(double value) const { return sqlite3_bind_double(statement, place, value); }
    int operator()(std::string_view text) const
    {
        return sqlite3_bind_text64(statement, place, text.data(), text.size(), SQLITE_STATIC,
                                   SQLITE_UTF8);
    }
    // As a text, a column for integers would round it to a real.
    int operator()(Digits digits) const
    {
        return sqlite3_bind_blob64(statement, place, digits.text.data(), digits.text.size(),
                                   SQLITE_STATIC);
    }
};

template <class Number> void AppendNumber(std::vector<std::string>& cells, Number number)
{
    std::array<char, 32> text;
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    cells.emplace_back(text.data(), result.ptr);
}

void AppendCell(std::vector<std::string>& cells, sqlite3_stmt* statement, int column)
{
    switch (sqlite3_column_type(statement, column))
    {
    case SQLITE_NULL:
        cells.emplace_back("NULL");
        return;
    case SQLITE_INTEGER:
        AppendNumber(cells, sqlite3_column_int64(statement, column));
        return;
    case SQLITE_FLOAT:
        AppendNumber(cells, sqlite3_column_double(statement, column));
        return;
    default: // the bytes of a text, as those of a blob
        const void* bytes = sqlite3_column_blob(statement, column);
        cells.emplace_back(static_cast<const char*>(bytes),
                           static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
}

/// Ends a statement's run, and with it its locks.
struct RunEnd
{
    sqlite3_stmt* statement;

    explicit RunEnd(sqlite3_stmt* running) : statement(running) {}
    ~RunEnd() { sqlite3_reset(statement); }
    RunEnd(const RunEnd&) = delete;
    RunEnd& operator=(const RunEnd&) = delete;
};

} // namespace

Connection::Connection(std::string path, std::vector<Definition> definitions)
    : m_Path(std::move(path)), m_Definitions(std::move(definitions))
{
}

Connection::~Connection()
{
    Close();
}

std::vector<std::string> Connection::query(std::string statement)
{
    const std::lock_guard lock(m_Mutex);
    try
    {
        m_Reader.Read(statement);
        Provide();
        return CarryOut();
    }
    catch (const Failure& failure)
    {
        m_RowState->Refused(failure, m_Path);
        AfterFailure(failure.code);
        throw DBEXCEPTION::DatabaseException(Told(failure.text));
    }
}

void Connection::Provide()
{
    if (m_Path.empty())
        throw Failure{SQLITE_MISUSE, "no place for the database: name a file in TARNIS_DATABASE"};
    m_IsWriting = false;
    std::int64_t rowsGiven = 0; // so many rows this process knows of
    const bool hasMoved = m_Database && HasMoved(m_Database.get());
    if (m_Database && m_Path != inMemory && WasOverwritten(m_Database.get()))
        rowsGiven = unreadable;
    else if (hasMoved)
        rowsGiven = RowsGivenByMovedFile(m_Database.get());

    if (rowsGiven == unreadable)
        ReleaseOverwritten();
    else if (hasMoved)
    {
        LeaveMovedFile(m_Database.get(), m_Log);
        Release();
    }
    else if (m_Database && sqlite3_db_readonly(m_Database.get(), "main") == 1)
        Release(); // perhaps it may be written by now
    if (m_Database)
        return;
    m_Database = OpenDatabase(m_Path, m_Definitions, Patience());
    m_Log = LogOf(m_Database.get());
    if (rowsGiven > 0 && RowsGiven(m_Database.get()) < rowsGiven)
        throw Failure{SQLITE_MISUSE, otherFile};
}

void Connection::Close()
{
    if (m_Database && m_Path != inMemory && WasOverwritten(m_Database.get()))
        ReleaseOverwritten();
    else
        Release();
}

void Connection::ReleaseOverwritten()
{
    const std::string path = sqlite3_db_filename(m_Database.get(), "main");
    const FileIdentity remains = LeaveOverwrittenFile(m_Database.get(), m_Log);
    Release();
    RemoveLog(path, remains);
}

void Connection::Release()
{
    m_Prepared.Clear();
    m_Database.reset();
}

Connection::Cells Connection::CarryOut()
{
    Cells cells;
    for (const StatementPart& part : m_Reader.Parts())
        if (part.kind == StatementKind::Rows)
            RunRows(part.text, cells);
        else
            RunAsItStands(part, cells);
    return cells;
}

void Connection::RunRows(std::string_view text, Cells& cells)
{
    const std::vector<Literal>& values = m_Reader.Literals();
    sqlite3_stmt* statement = m_Prepared.Get(m_Database.get(), text, values.size());
    Binder binder{statement, 0};
    for (const Literal& value : values)
    {
        ++binder.place;
        Check(m_Database.get(), std::visit(binder, value));
    }
    const int rowsWritten = sqlite3_total_changes(m_Database.get());
    Run(statement, cells);
    if (sqlite3_total_changes(m_Database.get()) != rowsWritten)
        m_RowState->Written();
}

void Connection::RunAsItStands(const StatementPart& part, Cells& cells)
{
    if (part.text == "PRAGMA foreign_keys = ON")
    {
        int enforced = 0;
        sqlite3_db_config(m_Database.get(), SQLITE_DBCONFIG_ENABLE_FKEY, -1, &enforced);
        if (enforced != 0)
            return;
    }
    const StatementHandle statement = Prepare(m_Database.get(), part.text);
    if (statement)
        Run(statement.get(), cells);
    if (sqlite3_get_autocommit(m_Database.get()) == 0)
    {
        Execute(m_Database.get(), "ROLLBACK");
        throw Failure{SQLITE_MISUSE,
                      "statement refused: each statement is a transaction of its own"};
    }
}

void Connection::Run(sqlite3_stmt* statement, Cells& cells)
{
    m_IsWriting = sqlite3_stmt_readonly(statement) == 0;
    const RunEnd end(statement);
    int result = sqlite3_step(statement);
    const int columns = sqlite3_column_count(statement);
    if (result == SQLITE_ROW)
        cells.reserve(cells.size() + static_cast<std::size_t>(columns));
    for (; result == SQLITE_ROW; result = sqlite3_step(statement))
        for (int column = 0; column < columns; ++column)
            AppendCell(cells, statement, column);
    if (result != SQLITE_DONE)
        Fail(m_Database.get(), result);
    // That a row could be read tells nothing of a lock against writing.
    if (m_Blocked == Blocked::Reading || (m_Blocked == Blocked::Writing && m_IsWriting))
        SetBlocked(Blocked::Nothing);
}

void Connection::SetBlocked(Blocked blocked)
{
    m_Blocked = blocked;
    m_Waits = blocked == Blocked::Nothing ? 0 : m_Waits + 1;
    if (m_Database)
        sqlite3_busy_timeout(m_Database.get(), Patience());
}

int Connection::Patience() const
{
    if (m_Waits == 0)
        return patience;
    return m_Waits <= shortWaits ? shortPatience : 0;
}

void Connection::AfterFailure(int code)
{
    switch (code)
    {
    case SQLITE_BUSY:
        SetBlocked(m_IsWriting ? Blocked::Writing : Blocked::Reading);
        break;
    case SQLITE_FULL:
        // The log may hold what the disk lacks. Written back, it needs no more room than there is.
        if (m_Database)
            sqlite3_wal_checkpoint_v2(m_Database.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE,
                                      nullptr, nullptr);
        break;
    case SQLITE_ERROR: // perhaps the tables are no longer those that were checked
    case SQLITE_READONLY:
    case SQLITE_IOERR:
    case SQLITE_CORRUPT:
    case SQLITE_CANTOPEN:
    case SQLITE_NOTADB:
        // The file may be sound again by the next statement. One that went is put back first, and
        // what is in memory is all there is.
        if (m_Database && m_Path != inMemory && !HasMoved(m_Database.get()))
            Close();
        break;
    default:
        break;
    }
}

std::string Connection::Told(const std::string& text) const
{
    std::string told = m_Path.empty() ? text : text + " (" + m_Path + ")";
    std::replace_if(
        told.begin(), told.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
    return told;
}

} // namespace DatabaseWrapper::Internals
