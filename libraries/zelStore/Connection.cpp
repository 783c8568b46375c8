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

template <class Number> void AppendNumber(std::vector<std::string>& cells, Number number)
{
    std::array<char, 32> text;
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    cells.emplace_back(text.data(), result.ptr);
}

void AppendCell(std::vector<std::string>& cells, sqlite3_value* cell)
{
    switch (sqlite3_value_type(cell))
    {
    case SQLITE_NULL:
        cells.emplace_back("NULL");
        return;
    case SQLITE_INTEGER:
        AppendNumber(cells, sqlite3_value_int64(cell));
        return;
    case SQLITE_FLOAT:
        AppendNumber(cells, sqlite3_value_double(cell));
        return;
    default: // the bytes of a text, as those of a blob
        const void* bytes = sqlite3_value_blob(cell);
        cells.emplace_back(static_cast<const char*>(bytes),
                           static_cast<std::size_t>(sqlite3_value_bytes(cell)));
    }
}

/// Carries out what gives no rows.
void Step(const PreparedStatement& prepared)
{
    sqlite3_stmt* const statement = prepared.statement.get();
    const RunEnd end(statement);
    if (const int result = sqlite3_step(statement); result != SQLITE_DONE)
        Fail(sqlite3_db_handle(statement), result);
}

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
        return CarryOutWithRoom();
    }
    catch (const Failure& failure)
    {
        m_RowState->Refused(failure, m_Path);
        AfterFailure(failure.code);
        throw DBEXCEPTION::DatabaseException(Told(failure.text));
    }
}

/// The log may hold the room that the disk lacks. Written back, it is begun anew.
Connection::Cells Connection::CarryOutWithRoom()
{
    try
    {
        return CarryOut();
    }
    catch (const Failure& failure)
    {
        if (failure.code != SQLITE_FULL)
            throw;
    }
    sqlite3_wal_checkpoint_v2(m_Database.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr,
                              nullptr);
    return CarryOut();
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
    const PreparedStatement& prepared = m_Prepared.Get(m_Database.get(), text, values.size());
    if (prepared.update && WriteDifference(*prepared.update))
        return;
    int place = 0;
    for (const Literal& value : values)
        Bind(m_Database.get(), prepared.statement.get(), ++place, value);
    const int rowsWritten = sqlite3_total_changes(m_Database.get());
    Run(prepared.statement.get(), cells);
    if (sqlite3_total_changes(m_Database.get()) != rowsWritten)
        m_RowState->Written();
}

/// Row and comparison are of one moment: without the transaction, writers would mix their rows.
/// @return false when the update is to be carried out as a whole
bool Connection::WriteDifference(const RowUpdate& update)
{
    m_IsWriting = false;
    sqlite3* const database = m_Database.get();
    const RollbackGuard rollback{database};
    Step(m_Prepared.Get(database, "BEGIN", 0));
    switch (update.Compare(m_Database.get(), m_Reader.Literals(), m_Differing))
    {
    case RowUpdate::Outcome::SeveralRows:
        return false;
    case RowUpdate::Outcome::NoRow:
        CameThrough();
        return true;
    case RowUpdate::Outcome::Same:
        Step(m_Prepared.Get(database, "COMMIT", 0));
        CameThrough();
        LookWhetherWritable();
        return true;
    case RowUpdate::Outcome::Different:
        break;
    }
    m_IsWriting = true;
    if (!WriteColumns(update))
        return false;
    Step(m_Prepared.Get(database, "COMMIT", 0));
    CameThrough();
    m_RowState->Written();
    return true;
}

/// @return false when another process writes: within a transaction that cannot be waited for
bool Connection::WriteColumns(const RowUpdate& update)
{
    const std::vector<Literal>& values = m_Reader.Literals();
    const std::size_t conditions = values.size() - update.Columns();
    sqlite3_stmt* const statement =
        m_Prepared
            .Get(m_Database.get(), update.TextFor(m_Differing), m_Differing.size() + conditions)
            .statement.get();
    int place = 0;
    for (const std::size_t column : m_Differing)
        Bind(m_Database.get(), statement, ++place, values[column]);
    for (std::size_t i = update.Columns(); i < values.size(); ++i)
        Bind(m_Database.get(), statement, ++place, values[i]);
    const RunEnd end(statement);
    const int result = sqlite3_step(statement);
    if (result != SQLITE_DONE && result != SQLITE_BUSY)
        Fail(m_Database.get(), result);
    return result == SQLITE_DONE;
}

/// A row that is as it should be ends a refusal only when it could also be written.
void Connection::LookWhetherWritable()
{
    if (m_Blocked != Blocked::Writing && !m_RowState->IsRefused())
        return;
    sqlite3_busy_timeout(m_Database.get(), 0);
    if (sqlite3_exec(m_Database.get(), "BEGIN IMMEDIATE; ROLLBACK", nullptr, nullptr, nullptr) ==
        SQLITE_OK)
    {
        m_RowState->Writable();
        m_Blocked = Blocked::Nothing;
        m_Waits = 0;
    }
    sqlite3_busy_timeout(m_Database.get(), Patience());
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
            AppendCell(cells, sqlite3_column_value(statement, column));
    if (result != SQLITE_DONE)
        Fail(m_Database.get(), result);
    CameThrough();
}

void Connection::CameThrough()
{
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
