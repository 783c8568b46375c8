// Taking and releasing the instance's locks, each step between its two trace lines.
#pragma once

#include "contracts/ThreadSafety.h"
#include "contracts/zelKit.h"
#include "tarnis/Src/tarnis/SourceLocation.h"
#include "tarnis/Src/tarnis/Trace.h"

namespace NAMESPACE_tarnis
{

/// Runs one step of a lock between "Before ..." and "After ...".
template <class Step> auto TracedStep(const char* name, const SourceLocation& where, Step step)
{
    struct After
    {
        const char* name;
        const SourceLocation& where;
        void operator()() const { Trace(TRACE_LOCK, {"After %s", where}, name); }
    };

    Trace(TRACE_LOCK, {"Before %s", where}, name);
    if constexpr (std::is_void_v<decltype(step())>)
    {
        step();
        After{name, where}();
    }
    else
    {
        const auto result = step();
        After{name, where}();
        return result;
    }
}

/// Holds the data lock for a scope. The wait has no limit and is not tested: before Initialize
/// there is no lock to hold, and nothing to guard.
class TARNIS_SCOPED_CAPABILITY DataGuard
{
  public:
    explicit DataGuard(ZKT::Threading::Native_OS::CFastMutex& lock,
                       const SourceLocation& where = SourceLocation::current())
        TARNIS_ACQUIRE(lock) TARNIS_NO_THREAD_SAFETY_ANALYSIS
    {
        TracedStep("m_DataLock.Wait (sg)", where,
                   [&] { return lock.Wait(&m_Guard, ZKT::Infinite); });
    }
    ~DataGuard() TARNIS_RELEASE() = default;
    DataGuard(const DataGuard&) = delete;
    DataGuard& operator=(const DataGuard&) = delete;

  private:
    ZKT::Threading::CSyncGuard m_Guard;
};

} // namespace NAMESPACE_tarnis
