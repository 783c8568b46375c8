// Tracing: one call that knows its place and formats nothing while its level is masked out.
#pragma once

#include "contracts/zelKit.h"
#include "tarnis/Src/tarnis/Module.h"
#include "tarnis/Src/tarnis/SourceLocation.h"

#include <cstdint>
#include <exception>
#include <string>
#include <type_traits>

namespace NAMESPACE_tarnis
{

/// One bit each of the trace mask.
enum TraceLevel : std::uint32_t
{
    TRACE_FLOW = 2,       ///< ENTER, LEAVE, failures with their code
    TRACE_DETAIL = 4,     ///< what the worker woke for, sizes of lists
    TRACE_LOCK = 8,       ///< each step of a lock; checks of operations
    TRACE_PROGRESS = 16,  ///< progress of a scan and of a stop
    TRACE_DATABASE = 128, ///< changes of rows and their failures
};

/// A format text together with the place where it stands.
struct TraceText
{
    TraceText(const char* format, SourceLocation place = SourceLocation::current())
        : text(format), where(place)
    {
    }

    const char* text;
    SourceLocation where;
};

/// Where a trace line comes from, in the trace's own form.
struct TracePlace
{
    explicit TracePlace(const SourceLocation& where);

    std::string folder;   ///< such as "tarnis/Src/tarnisPlugin"
    std::string function; ///< qualified, without result and arguments
};

inline const char* TraceValue(const char* text)
{
    return text;
}
inline const std::string& TraceValue(const std::string& text)
{
    return text;
}

template <class T>
requires(std::is_integral_v<T> || std::is_enum_v<T>) ZKT::Output_Streams::FormatInt
    TraceValue(T value)
{
    using Wide =
        std::conditional_t<sizeof(T) == 8,
                           std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>,
                           std::conditional_t<std::is_unsigned_v<T>, std::uint32_t, std::int32_t>>;
    return ZKT::Output_Streams::FormatInt(static_cast<Wide>(value));
}

/// Writes a trace line when a bit of `level` is set in the trace mask. "%d", "%s" and "0x%x" take
/// the values in order.
template <class... Values>
void Trace(TraceLevel level, const TraceText& text, const Values&... values)
{
    if ((g_ModuleInfo.GetTraceMask() & level) == 0)
        return;
    try
    {
        const TracePlace place(text.where);
        ZKT::Internals::CTraceStreamBuffer buffer(level, g_ModuleInfo, place.folder.c_str(),
                                                  place.function.c_str(), text.where.line());
        ZKT::Output_Streams::CFormatStream stream = buffer.Open(text.text);
        (void)(stream << ... << TraceValue(values));
    }
    catch (const std::exception&)
    {
        // No memory for the line: it is left out, and what it tells of goes on.
    }
}

} // namespace NAMESPACE_tarnis
