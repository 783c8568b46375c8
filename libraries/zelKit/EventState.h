// What an event is made of, for those who set it and those who wait.
#pragma once

#include "libraries/zelKit/SystemThread.h"

namespace ZKT::Internals
{

/// Guards all events and all waits of the process: a wait looks at several events at once. It is
/// never held longer than a look takes.
inline SystemMutex eventsMutex;

struct EventState
{
    explicit EventState(bool initiallySet, bool manual) : manualReset(manual), set(initiallySet) {}

    const bool manualReset;
    bool set;
};

/// Lets every sleeping wait look at its events, the clock and the requests to stop again. With
/// eventsMutex held.
void WakeSleepers();

/// Sets an event and hands the signal to those who wait for it. With eventsMutex held.
void Signal(EventState& event);

} // namespace ZKT::Internals
