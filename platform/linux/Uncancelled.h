// Calls in which a thread is not cancelled.
#pragma once

#include "platform/HostSystem.h"

namespace Platform
{

/// Runs a call in which the thread is not cancelled: open files would stay behind. One that was
/// cancelled while a disk answered ends as soon as the answer is there.
template <class Body> auto Uncancelled(Body body)
{
    CancellationPoint();
    auto result = [&]
    {
        const CancellationPause pause;
        return body();
    }();
    CancellationPoint();
    return result;
}

} // namespace Platform
