// The process's connection to the shared database.
#pragma once

#include "contracts/zelStore/DatabaseDAO.h"
#include "libraries/zelStore/MovedFile.h"
#include "libraries/zelStore/PreparedStatements.h"
#include "libraries/zelStore/RowState.h"
#include "libraries/zelStore/Sqlite.h"
#include "libraries/zelStore/StatementReader.h"
#include "libraries/zelStore/TableDefinitions.h"

#include <mutex>
#include <string>
#include <vector>

namespace DatabaseWrapper::Internals
{

/// Opens the file at the first statement. When the file was removed, replaced, or gave trouble, the
/// next statement opens it anew.
class Connection final : public DatabaseDAO
{
  public:
    /// How long a statement waits for other processes, in milliseconds.
    static constexpr int patience = 2000;
    /// How long when the statement before it waited in vain: a pass over many rows must not take
    /// seconds for each.
    static constexpr int shortPatience = 50;
    /// After so many of them the next ones do not wait at all.
    static constexpr int shortWaits = 20;

    /// @param path  absolute, or inMemory; empty: every statement is refused
    Connection(std::string path, std::vector<Definition> definitions);
    ~Connection() override;

    /// Any thread. Waits for other processes, see above.
    /// @throws DBEXCEPTION::DatabaseException, std::bad_alloc
    std::vector<std::string> query(std::string statement) override;

  private:
    using Cells = std::vector<std::string>;

    /// What a statement is called that waited in vain, until one like it comes through.
    enum class Blocked
    {
        Nothing,
        Reading, ///< then everything is
        Writing,
    };

    void Provide();
    /// Spares what was written over the file since the last look.
    void Close();
    void Release();
    /// After WasOverwritten.
    void ReleaseOverwritten();
    Cells CarryOutWithRoom();
    Cells CarryOut();
    void RunRows(std::string_view text, Cells& cells);
    bool WriteDifference(const RowUpdate& update);
    bool WriteColumns(const RowUpdate& update);
    void LookWhetherWritable();
    void RunAsItStands(const StatementPart& part, Cells& cells);
    void Run(sqlite3_stmt* statement, Cells& cells);
    void CameThrough();
    void SetBlocked(Blocked blocked);
    int Patience() const;
    void AfterFailure(int code);
    std::string Told(const std::string& text) const;

    const std::string m_Path;
    const std::vector<Definition> m_Definitions;
    const std::shared_ptr<RowState> m_RowState = MakeRowState();

    std::mutex m_Mutex; ///< guards all below
    StatementReader m_Reader;
    DatabaseHandle m_Database; ///< null: to be opened
    FileIdentity m_Log;        ///< that of m_Database
    PreparedStatements m_Prepared;
    std::vector<std::size_t> m_Differing; ///< columns of the update being carried out
    Blocked m_Blocked = Blocked::Nothing;
    int m_Waits = 0;          ///< statements in a row that waited in vain
    bool m_IsWriting = false; ///< the statement being carried out changes something
};

} // namespace DatabaseWrapper::Internals
