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
    /// An operation failed since the last pass began, an update found no row, or a disk is gone
    /// that was none of the drives. At a start that finds rows of an earlier run the inserts fail,
    /// so that the first pass catches up.
    bool behind = false;
    /// The present pass makes up for it: it inserts rows that are missing, and removes rows of
    /// drives that are gone: not in the device tree, or seen to go by this instance.
    bool catchUp = false;
};

/// Trace texts of an operation.
struct RowTexts
{
    const char* done;  ///< for the values; null: nothing is told
    TraceText refused; ///< for the values and the database's own text
};

/// Runs an operation. What the database refuses is traced and comes out as GENERAL; no exception
/// leaves.
template <class Operation, class... Values>
PI::_ERROR_CODE RunRowOperation(RowsInStep& state, Operation operation, const RowTexts& texts,
                                const Values&... values)
{
    try
    {
        operation();
        if (texts.done != nullptr)
            Trace(TRACE_DATABASE, {texts.done, texts.refused.where}, values...);
        return PI::ERR_SUCCESS;
    }
    catch (const DBEXCEPTION::DatabaseException& failure)
    {
        Trace(TRACE_DATABASE, texts.refused, values..., failure.what());
    }
    catch (const std::exception& failure)
    {
        Trace(TRACE_FLOW, {"row not written -> std::exception %s", texts.refused.where},
              failure.what());
    }
    state.behind = true;
    return PI::ERR_GENERAL;
}

} // namespace NAMESPACE_tarnis
