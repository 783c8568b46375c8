#include "libraries/zelStore/RowState.h"

#include "base/UntilUnload.h"
#include "contracts/zelKit/Text.h"
#include "contracts/zelStore/RowState.h"

namespace DatabaseWrapper
{
namespace Internals
{
namespace
{

/// What people are told of a result: the cause, and what to do. Null: the failure's own text.
struct Advice
{
    const char* cause;
    const char* toDo;
};

constexpr const char* allowWriting =
    "let this user write there, or name another file in TARNIS_DATABASE";

/// @return false for a failure of the statement itself
bool FindAdvice(int code, Advice& advice)
{
    switch (code)
    {
    case SQLITE_BUSY:
    case SQLITE_PROTOCOL:
        advice = {"another program keeps the file locked", "end that program, or its transaction"};
        return true;
    case SQLITE_FULL:
        advice = {"the disk is full", "free space there"};
        return true;
    case SQLITE_READONLY:
        advice = {"the file may only be read", allowWriting};
        return true;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
        advice = {nullptr, allowWriting};
        return true;
    case SQLITE_IOERR:
        advice = {nullptr, "check the disk and its free space, or name another file in "
                           "TARNIS_DATABASE"};
        return true;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        advice = {nullptr, nullptr};
        return true;
    default:
        return false;
    }
}

struct Asked
{
    std::mutex mutex;
    std::weak_ptr<RowState> state;
};

Asked& TheAsked()
{
    static Base::UntilUnload<Asked> asked;
    return *asked;
}

} // namespace

void RowState::Refused(const Failure& failure, const std::string& path)
{
    Advice advice{};
    std::string line;
    if (path.empty())
        line = "there is no place for the database; rows are not kept; name a file in "
               "TARNIS_DATABASE";
    else if (!FindAdvice(failure.code, advice))
        return;
    else
    {
        // Some texts end in what to do.
        std::string cause = advice.cause != nullptr ? advice.cause : failure.text;
        std::string toDo = advice.toDo != nullptr ? std::string("; ") + advice.toDo : remedy;
        if (cause.ends_with(remedy))
            cause.resize(cause.size() - std::string_view(remedy).size());
        line = path + ": " + cause + "; rows are not kept" + toDo;
    }
    line = ZKT::Misc::Printable(line);
    const std::lock_guard lock(m_Mutex);
    m_Message = std::move(line);
    m_NeedsRoom = failure.code == SQLITE_FULL || failure.code == SQLITE_IOERR;
    m_IsRefused = true;
}

void RowState::Written()
{
    if (!m_IsRefused) // every row that is written comes here
        return;
    const std::lock_guard lock(m_Mutex);
    m_Message.clear();
    m_IsRefused = false;
}

void RowState::Writable()
{
    const std::lock_guard lock(m_Mutex);
    if (m_NeedsRoom)
        return;
    m_Message.clear();
    m_IsRefused = false;
}

std::string RowState::Message() const
{
    const std::lock_guard lock(m_Mutex);
    return m_Message;
}

std::shared_ptr<RowState> MakeRowState()
{
    auto state = std::make_shared<RowState>();
    const std::lock_guard lock(TheAsked().mutex);
    TheAsked().state = state;
    return state;
}

} // namespace Internals

bool AreRowsRefused(std::string& message)
{
    std::shared_ptr<Internals::RowState> state;
    {
        const std::lock_guard lock(Internals::TheAsked().mutex);
        state = Internals::TheAsked().state.lock();
    }
    message = state ? state->Message() : std::string();
    return !message.empty();
}

} // namespace DatabaseWrapper
