// The plug-in with its worker, one pass at a time: between two passes the worker stands in the
// host's doorbell, where no lock is held.
#pragma once

#include "libraries/zelKit/Clock.h"
#include "platform/WindowsApi.h"
#include "tests/support/PluginTest.h"

#include <chrono>
#include <climits>
#include <condition_variable>
#include <mutex>

#include <time.h>

namespace Support
{

class SteppedPlugin
{
  public:
    ~SteppedPlugin() { Stop(); }

    /// Commands 1 and 2. The first pass has not run then.
    /// @param adapter  the host's number of the adapter
    bool Start(std::uint32_t adapter = PI::CAdapterID::NoGlobalID)
    {
        plugin.Interface()->m_HostContext = this;
        plugin.Interface()->m_HostCallback = &SteppedPlugin::Ring;
        m_Running = plugin.Command(PI::COMMAND_INITIALIZE, 0, &plugin.adapterIDs) == 0;
        for (PI::CAdapterID& id : plugin.adapterIDs)
            id.m_GlobalAdapterID = adapter;
        m_Running =
            m_Running && plugin.Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &plugin.adapterIDs) == 0;
        return m_Running;
    }

    /// Lets the worker go on to its next ring, which is the end of a pass unless the interval was
    /// changed before.
    /// @return false when none came within a minute
    bool Pass()
    {
        std::unique_lock guard(m_Lock);
        m_Answered = m_Rings; // the first pass may have come by itself
        for (int tries = 0; tries < 120000; ++tries)
        {
            // The worker may still be on its way to its wait: then this time lies before it. The
            // lock keeps it from ringing between the look and the skip: that would be two passes.
            ZKT::Internals::SkipTime(std::chrono::seconds(300));
            if (Rings(guard, std::chrono::microseconds(500)))
                return true;
        }
        return false;
    }

    /// Lets the worker go on, and skips no time.
    /// @return whether it rings within a while
    bool Rings(std::chrono::milliseconds patience)
    {
        std::unique_lock guard(m_Lock);
        return Rings(guard, patience);
    }

    /// Lets the worker run freely from here on.
    void Release()
    {
        const std::lock_guard guard(m_Lock);
        m_Released = INT_MAX;
        m_Changed.notify_all();
    }

    void Stop()
    {
        Release();
        if (!std::exchange(m_Running, false))
            return;
        EXPECT_EQ(plugin.Command(PI::COMMAND_DEINITIALIZE), PI::ERR_SUCCESS);
    }

    LoadedPlugin plugin;

  private:
    bool Rings(std::unique_lock<std::mutex>& guard, std::chrono::microseconds patience)
    {
        m_Released = m_Answered;
        m_Changed.notify_all();
        m_Changed.wait_for(guard, patience, [&] { return m_Rings != m_Answered; });
        return std::exchange(m_Answered, m_Rings) != m_Rings;
    }

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
    int m_Answered = 0; ///< the last ring that the test knows of
    int m_Released = 0; ///< the last ring from which the worker may return
    bool m_Running = false;
};

/// A test that steps a plug-in, in a time zone of its own.
class SteppedTest : public PluginTest
{
  protected:
    SteppedTest() { SetZone("UTC"); }
    ~SteppedTest() override
    {
        m_Plugin.reset();
        EXPECT_EQ(Platform::OpenHandleCount(), 0U);
        unsetenv("TZ");
        tzset();
    }

    static void SetZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }

    void StartPlugin()
    {
        m_Plugin = std::make_unique<SteppedPlugin>();
        ASSERT_TRUE(m_Plugin->Start());
    }

    std::string Picture() const { return PictureText(m_Plugin->plugin.Topology()); }

    /// Command 10 at the plug-in.
    std::int32_t Execute(PI::_OPERATION_ID id, std::vector<PI::CEvent>& events) const
    {
        PI::COperation operation(id);
        const std::int32_t result =
            m_Plugin->plugin.Command(PI::COMMAND_EXECUTE_OPERATION, PluginId, &operation);
        events = operation.m_Events;
        return result;
    }

    std::int32_t SetInterval(int seconds) const
    {
        PI::CProperty interval(PI::PROP_POLL_INTERVAL, true);
        interval.SetValue(seconds, 0, INT_MAX, 1U);
        return m_Plugin->plugin.Command(PI::COMMAND_SET_PROPERTY, PluginId, &interval);
    }

    static constexpr std::int64_t Day = 86400000; // ms

    std::unique_ptr<SteppedPlugin> m_Plugin;
};

} // namespace Support
