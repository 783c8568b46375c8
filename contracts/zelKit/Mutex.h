#pragma once

#include "contracts/Export.h"
#include "contracts/ThreadSafety.h"
#include "contracts/zelKit/Result.h"

#include <cstdint>
#include <memory>

namespace ZKT::Threading
{

class CSyncGuard;

namespace Native_OS
{

/// A lock that one thread holds. Not recursive. Built without an operating-system object: unusable
/// before Init. Movable by nobody; outlives all who wait for it.
class TARNIS_CAPABILITY("mutex") ZELKIT_API CFastMutex
{
  public:
    CFastMutex();
    ~CFastMutex();
    CFastMutex(const CFastMutex&) = delete;
    CFastMutex& operator=(const CFastMutex&) = delete;

    /// @return RESULT_SUCCESS when usable. A second call changes nothing.
    std::uint32_t Init();

    /// Takes the lock. With a guard, the guard's destructor releases; with null the caller calls
    /// Release. The time is measured on a clock that no one can set.
    /// Those who wait get the lock in the order in which they came, also when they are asked to
    /// stop. Needs no memory.
    /// @return RESULT_SUCCESS when held; RESULT_TIMEOUT; RESULT_NOT_INITIALISED; RESULT_INVALID for
    ///         a guard that holds a lock already
    std::uint32_t Wait(CSyncGuard* guard, std::uint32_t milliseconds);

    /// Called by the holder. Without effect on a lock that nobody holds.
    void Release();

  private:
    struct State;
    std::unique_ptr<State> m_State;
};

} // namespace Native_OS

/// Releases, at the end of its scope, the lock that was taken with it. Holds one lock at the most.
class ZELKIT_API CSyncGuard
{
  public:
    CSyncGuard() = default;
    ~CSyncGuard();
    CSyncGuard(const CSyncGuard&) = delete;
    CSyncGuard& operator=(const CSyncGuard&) = delete;

  private:
    friend class Native_OS::CFastMutex;
    Native_OS::CFastMutex* m_Lock = nullptr;
};

} // namespace ZKT::Threading
