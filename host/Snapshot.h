// What a plug-in and its machine tell at one moment.
#pragma once

#include "host/Drive.h"
#include "host/PluginSession.h"

#include <vector>

namespace Host
{

/// Its drives point into its objects, so that it can be moved and not copied.
struct Snapshot
{
    Snapshot() = default;
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;
    Snapshot(Snapshot&&) = default;
    Snapshot& operator=(Snapshot&&) = default;

    Objects objects; ///< in the order of disks
    std::vector<Drive> drives;
};

/// To be taken while no pass runs: before the worker starts, or in the callback. @throws Failure
Snapshot TakeSnapshot(PluginSession& session);

} // namespace Host
