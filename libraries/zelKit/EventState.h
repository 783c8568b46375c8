// What an event is made of, for those who set it and those who wait.
#pragma once

#include <mutex>
#include <vector>

namespace ZKT::Internals
{

class Sleeper;

/// Guards all events and all waits of the process: a wait looks at several events at once. It is
/// never held longer than a look takes.
inline std::mutex eventsMutex;

struct EventState
{
    explicit EventState(bool initiallySet, bool manual) : manualReset(manual), set(initiallySet) {}

    const bool manualReset;
    bool set;
    std::vector<Sleeper*> sleepers; ///< threads that wait for it, the oldest first
};

/// Lets every sleeping wait look at the clock again. With eventsMutex held.
void WakeSleepers();

/// Sets an event and hands the signal to those who wait for it. With eventsMutex held.
void Signal(EventState& event);

} // namespace ZKT::Internals
