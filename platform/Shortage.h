// Lack of memory or of descriptors. It says nothing about a disk or about the device tree, and so
// must not be taken for an answer of theirs.
#pragma once

#include "platform/WindowsApi.h"

#include <new>

namespace Platform
{

/// Whether an error means that this process, or the system, has run out of something.
constexpr bool IsShortage(DWORD error)
{
    switch (error)
    {
    case ERROR_TOO_MANY_OPEN_FILES:
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_NO_SYSTEM_RESOURCES:
    case ERROR_NONPAGED_SYSTEM_RESOURCES:
    case ERROR_PAGED_SYSTEM_RESOURCES:
    case ERROR_WORKING_SET_QUOTA:
    case ERROR_PAGEFILE_QUOTA:
    case ERROR_COMMITMENT_LIMIT:
    case ERROR_NOT_ENOUGH_QUOTA:
        return true;
    default:
        return false;
    }
}

/// Thrown where a result has no room for the cause. Needs no memory, and is caught as exhausted
/// memory is.
using Shortage = std::bad_alloc;

/// @throws Shortage
inline void ThrowShortage(DWORD error)
{
    if (IsShortage(error))
        throw Shortage();
}

// Whether a call of WindowsApi.h has succeeded. These throw Shortage when it failed for that
// reason.

inline bool Succeeded(BOOL result)
{
    if (result == 0)
        ThrowShortage(GetLastError());
    return result != 0;
}

inline bool GaveHandle(HANDLE handle)
{
    if (handle == INVALID_HANDLE_VALUE)
        ThrowShortage(GetLastError());
    return handle != INVALID_HANDLE_VALUE;
}

inline bool Stepped(CONFIGRET result)
{
    if (result == CR_OUT_OF_MEMORY)
        throw Shortage();
    return result == CR_SUCCESS;
}

} // namespace Platform
