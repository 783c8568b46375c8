#include "libraries/zelStore/OurDatabase.h"

#include <algorithm>
#include <map>
#include <string>

namespace DatabaseWrapper::Internals
{
namespace
{

constexpr std::int64_t schemaVersion = 1;

enum class State
{
    Empty,
    Outdated, ///< a view or an index differs
    Ready,
};

/// The SQL of everything in the file, by name.
std::map<std::string, std::string> ReadContents(sqlite3* database)
{
    std::map<std::string, std::string> contents;
    const StatementHandle reader = Prepare(database, "SELECT name, sql FROM sqlite_master");
    int result;
    while ((result = sqlite3_step(reader.get())) == SQLITE_ROW)
    {
        const auto text = [&reader](int column) -> std::string
        {
            const void* bytes = sqlite3_column_blob(reader.get(), column);
            return {static_cast<const char*>(bytes),
                    static_cast<std::size_t>(sqlite3_column_bytes(reader.get(), column))};
        };
        contents.emplace(text(0), text(1));
    }
    if (result != SQLITE_DONE)
        Fail(database, result);
    return contents;
}

void CheckVersion(std::int64_t application, std::int64_t version)
{
    if (application != applicationId)
        throw Failure{SQLITE_NOTADB, std::string("a database of another program") + remedy};
    if (version != schemaVersion)
        throw Failure{SQLITE_NOTADB, "a database of version " + std::to_string(version) +
                                         ", where this program has version " +
                                         std::to_string(schemaVersion) + remedy};
}

/// To be called within a transaction, so that another process's changes come whole.
State Examine(sqlite3* database, const std::vector<Definition>& definitions)
{
    const std::int64_t application = ReadNumber(database, "PRAGMA application_id");
    const std::int64_t version = ReadNumber(database, "PRAGMA user_version");
    auto contents = ReadContents(database);
    if (application == 0 && version == 0 && contents.empty())
        return State::Empty;
    CheckVersion(application, version);
    State state = State::Ready;
    for (const Definition& definition : definitions)
        if (const std::string& sql = contents[definition.name]; sql != definition.sql)
        {
            if (!sql.empty() && !sql.starts_with(std::string("CREATE ") + definition.type))
                throw Failure{SQLITE_NOTADB, "the name " + definition.name +
                                                 " is taken by something else" + remedy};
            if (definition.holdsRows)
                throw Failure{SQLITE_NOTADB,
                              "the table " + definition.name + " was changed" + remedy};
            state = State::Outdated;
        }
    return state;
}

/// Examines a file beside which a transaction is still to be carried out or taken back. One of ours
/// may look as if it were cut off while it was made.
void ExamineUnfinished(sqlite3* database, const std::vector<Definition>& definitions)
{
    try
    {
        const std::int64_t application = ReadNumber(database, "PRAGMA application_id");
        const std::int64_t version = ReadNumber(database, "PRAGMA user_version");
        if (application != 0 || version != 0)
            return CheckVersion(application, version);
        for (const auto& [name, sql] : ReadContents(database))
            if (!sql.empty() && std::none_of(definitions.begin(), definitions.end(),
                                             [&name = name](const Definition& definition)
                                             { return definition.name == name; }))
                CheckVersion(application, version);
    }
    catch (const Failure& failure)
    {
        if (failure.code != SQLITE_CORRUPT)
            throw;
    }
}

} // namespace

void CheckDatabase(sqlite3* database, const std::vector<Definition>& definitions,
                   bool hasUnfinished)
{
    const Transaction reading(database, "BEGIN");
    if (hasUnfinished)
        ExamineUnfinished(database, definitions);
    else
        Examine(database, definitions);
}

void AdoptDatabase(sqlite3* database, const std::vector<Definition>& definitions)
{
    State state;
    {
        const Transaction reading(database, "BEGIN");
        state = Examine(database, definitions);
    }
    if (state == State::Ready ||
        (state == State::Outdated && sqlite3_db_readonly(database, "main") == 1))
        return;

    Transaction writing(database, "BEGIN IMMEDIATE");
    // Another process may have been first.
    state = Examine(database, definitions);
    for (const Definition& definition : definitions)
    {
        if (state == State::Outdated && !definition.holdsRows)
            Execute(
                database,
                (std::string("DROP ") + definition.type + " IF EXISTS " + definition.name).c_str());
        if (state == State::Empty || (state == State::Outdated && !definition.holdsRows))
            Execute(database, definition.sql.c_str());
    }
    if (state == State::Empty)
        Execute(database, ("PRAGMA application_id = " + std::to_string(applicationId) +
                           "; PRAGMA user_version = " + std::to_string(schemaVersion))
                              .c_str());
    writing.Commit();
}

} // namespace DatabaseWrapper::Internals
