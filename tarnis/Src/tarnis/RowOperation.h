// One operation on rows of the shared database: what it may meet, and what it leaves behind.
#pragma once

#include "database/SafeText.h"
#include "database/Storage.h"
#include "tarnis/Src/tarnis/Trace.h"

#include <exception>

namespace NAMESPACE_tarnis
{

/// Name of the host in every row and every condition.
inline constexpr const char* RowHost = "localhost";

/// Whether the rows may lag behind the picture.
struct RowsInStep
{
    /// An operation failed since the last pass began. At a start that finds rows of an earlier run
    /// the inserts fail, so that the first pass catches up.
    bool behind = false;
    /// The present pass makes up for it: it inserts rows that are missing, and removes rows of
    /// drives that are gone. Otherwise a row that somebody else removed stays removed.
    bool catchUp = false;
};

/// Runs an operation. What the database refuses is traced and comes out as GENERAL; no exception
/// leaves.
/// @param refused  trace text, for the values and the database's own text
template <class Operation, class... Values>
PI::_ERROR_CODE RunRowOperation(RowsInStep& state, Operation operation, const TraceText& refused,
                                const Values&... values)
{
    try
    {
        operation();
        return PI::ERR_SUCCESS;
    }
    catch (const DBEXCEPTION::DatabaseException& failure)
    {
        Trace(TRACE_DATABASE, refused, values..., failure.what());
    }
    catch (const std::exception& failure)
    {
        Trace(TRACE_FLOW, {"row not written -> std::exception %s", refused.where}, failure.what());
    }
    state.behind = true;
    return PI::ERR_GENERAL;
}

} // namespace NAMESPACE_tarnis
