// What the calls of WindowsApi.h have in common: the gate, the cause of a failure, exceptions.
#pragma once

#include "contracts/zelKit/Thread.h"
#include "platform/WindowsTypes.h"

#include <atomic>
#include <cstddef>
#include <exception>
#include <new>

namespace Platform
{

// Error codes that only the implementation of the calls gives.
inline constexpr DWORD ErrorInvalidData = 13;
inline constexpr DWORD ErrorInvalidFlags = 1004;

/// Whether there is a gate at all; outside of tests there is none.
inline std::atomic<bool> g_hasCallGate = false;

bool AskCallGate(const char* name);

/// Whether the gate lets this call pass.
inline bool GatePasses(const char* name)
{
    return !g_hasCallGate || AskCallGate(name);
}

void SetCallError(DWORD error);

/// Leaves the cause and gives the result of a failed call.
template <class Result> Result FailCall(DWORD error, Result failure)
{
    SetCallError(error);
    return failure;
}

/// Runs the body of a call: the gate first, and no exception leaves. A thread that was asked to
/// stop calls nothing any more.
template <class Result, class Body>
Result RunCall(const char* name, Result failure, Result outOfMemory, Body body)
{
    try
    {
        if (ZKT::Threading::StopRequested())
            return FailCall(ERROR_OPERATION_ABORTED, failure);
        if (!GatePasses(name))
            return FailCall(ERROR_GEN_FAILURE, failure);
        return body();
    }
    catch (const std::bad_alloc&)
    {
        return FailCall(ERROR_NOT_ENOUGH_MEMORY, outOfMemory);
    }
    catch (const std::exception&)
    {
        return FailCall(ERROR_GEN_FAILURE, failure);
    }
}

/// For a call whose result says no more than that it failed.
template <class Result, class Body> Result RunCall(const char* name, Result failure, Body body)
{
    return RunCall(name, failure, failure, body);
}

std::size_t OpenDeviceCount();
std::size_t OpenListCount();

} // namespace Platform
