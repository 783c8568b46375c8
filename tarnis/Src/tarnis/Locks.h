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
    Trace(TRACE_LOCK, {"Before %s", where}, name);
    if constexpr (std::is_void_v<decltype(step())>)
    {
        step();
        Trace(TRACE_LOCK, {"After %s", where}, name);
    }
    else
    {
        const auto result = step();
        Trace(TRACE_LOCK, {"After %s", where}, name);
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

/// Holds a lock for a scope, its steps traced under names of their own. Releases it when the scope
/// is left by an exception, too.
class TARNIS_SCOPED_CAPABILITY TracedLock
{
  public:
    using Lock = ZKT::Threading::Native_OS::CFastMutex;

    TracedLock(Lock& lock, const char* wait, const char* release,
               const SourceLocation& where = SourceLocation::current())
        TARNIS_ACQUIRE(lock) TARNIS_NO_THREAD_SAFETY_ANALYSIS : m_Lock(lock),
                                                                m_Release(release),
                                                                m_Where(where)
    {
        m_Held = TracedStep(wait, m_Where, [&] { return m_Lock.Wait(nullptr, ZKT::Infinite); }) ==
                 ZKT::RESULT_SUCCESS;
    }
    ~TracedLock() TARNIS_RELEASE() TARNIS_NO_THREAD_SAFETY_ANALYSIS
    {
        if (m_Held)
            TracedStep(m_Release, m_Where, [&] { m_Lock.Release(); });
    }
    TracedLock(const TracedLock&) = delete;
    TracedLock& operator=(const TracedLock&) = delete;

    /// False when the wait failed: there is no lock before Initialize.
    bool IsHeld() const { return m_Held; }

  private:
    Lock& m_Lock;
    const char* m_Release;
    SourceLocation m_Where;
    bool m_Held;
};

} // namespace NAMESPACE_tarnis
