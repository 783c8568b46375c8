// The plug-in with its worker, one pass at a time: between two passes the worker stands in the
// host's doorbell, where no lock is held.
#pragma once

#include "libraries/zelKit/Clock.h"
#include "tests/support/PluginTest.h"

#include <chrono>
#include <climits>
#include <condition_variable>
#include <mutex>

namespace Support
{

class SteppedPlugin
{
  public:
    ~SteppedPlugin() { Stop(); }

    /// Commands 1 and 2. The first pass has not run then.
    bool Start()
    {
        plugin.Interface()->m_HostContext = this;
        plugin.Interface()->m_HostCallback = &SteppedPlugin::Ring;
        m_Running = plugin.Command(PI::COMMAND_INITIALIZE, 0, &plugin.adapterIDs) == 0 &&
                    plugin.Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &plugin.adapterIDs) == 0;
        return m_Running;
    }

    /// Lets the worker go on to its next ring, which is the end of a pass unless the interval was
    /// changed before.
    /// @return false when none came within a minute
    bool Pass()
    {
        std::unique_lock guard(m_Lock);
        const int before = m_Released = m_Rings;
        m_Changed.notify_all();
        for (int tries = 0; m_Rings == before && tries < 30000; ++tries)
        {
            // The worker may still be on its way to its wait: then this time lies before it. The
            // lock keeps it from ringing between the look and the skip: that would be two passes.
            ZKT::Internals::SkipTime(std::chrono::seconds(300));
            m_Changed.wait_for(guard, std::chrono::milliseconds(2),
                               [&] { return m_Rings != before; });
        }
        return m_Rings != before;
    }

    void Stop()
    {
        {
            const std::lock_guard guard(m_Lock);
            m_Released = INT_MAX;
            m_Changed.notify_all();
        }
        if (std::exchange(m_Running, false))
            plugin.Command(PI::COMMAND_DEINITIALIZE);
    }

    LoadedPlugin plugin;

  private:
    static void Ring(void* context, IPLUGINAPI*)
    {
        auto& self = *static_cast<SteppedPlugin*>(context);
        std::unique_lock guard(self.m_Lock);
        const int ring = ++self.m_Rings;
        self.m_Changed.notify_all();
        self.m_Changed.wait(guard, [&] { return self.m_Released >= ring; });
    }

    std::mutex m_Lock;
    std::condition_variable m_Changed;
    int m_Rings = 0;
    int m_Released = 0; ///< the last ring from which the worker may return
    bool m_Running = false;
};

} // namespace Support
