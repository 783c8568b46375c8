// One plug-in from loading to unloading, with the order of calls that its contract asks for.
#pragma once

#include "contracts/PluginInterface.h"
#include "contracts/zelPlug.h"
#include "host/Failure.h"
#include "host/Troubles.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Host
{

/// Loads and initialises in the constructor, stops and unloads in the destructor, however far it
/// came. Without StartWorker what the plug-in found at its start is what it tells.
class PluginSession
{
  public:
    /// Opens the machine, then the plug-in. The environment is set before. Troubles around it are
    /// told on standard error: now, whenever they are asked for below, and at the end.
    /// @param plugin  file of the library; empty: tarnis.so beside this program, else wherever the
    ///                loader finds it
    /// @throws Failure
    explicit PluginSession(const std::string& plugin);

    /// Tells of troubles that are new, and of those that are over.
    void ReportTroubles() { m_Troubles.Report(); }

    /// What stood against the plug-in at the last report.
    const std::vector<Trouble>& CurrentTroubles() const { return m_Troubles.Current(); }

    /// What a verb ends with that did what it was asked: whether all disks could be read. Reports
    /// troubles first.
    ExitCode Result();

    /// Command 4. @throws Failure
    std::vector<PI::CObject> Topology();

    /// Command 6. @return the plug-in's code; the property is untouched when it is not 0
    std::int32_t GetProperty(std::uint64_t objectId, PI::CProperty& property);

    /// Command 7. @return the plug-in's code
    std::int32_t SetProperty(std::uint64_t objectId, const PI::CProperty& property);

    /// Command 2, once. The callback comes on the plug-in's worker thread until the session ends.
    /// @throws Failure
    void StartWorker(void* context, HostCallback callback);

    /// Takes what waits in the event queue of the plug-in object. @throws Failure
    std::vector<PI::CEvent> Events(std::uint64_t pluginId);

  private:
    class Library
    {
      public:
        explicit Library(const std::string& plugin);
        ~Library();
        Library(const Library&) = delete;
        Library& operator=(const Library&) = delete;
        void* Symbol(const char* name) const;

      private:
        void* m_Handle;
    };

    class Instance
    {
      public:
        explicit Instance(const Library& library);
        ~Instance();
        Instance(const Instance&) = delete;
        Instance& operator=(const Instance&) = delete;
        IPLUGINAPI* operator->() const { return m_Plugin; }

      private:
        ReleaseIfFunction m_Release;
        IPLUGINAPI* m_Plugin = nullptr;
    };

    class Started
    {
      public:
        Started(Instance& instance, Troubles& troubles);
        ~Started();
        Started(const Started&) = delete;
        Started& operator=(const Started&) = delete;

        std::vector<PI::CAdapterID> adapters; ///< as command 1 told them

      private:
        Instance& m_Instance;
        Troubles& m_Troubles;
    };

    // Destroyed from the last to the first: command 3, releaseIf, unloading.
    Library m_Library;
    Instance m_Instance;
    Troubles m_Troubles;
    Started m_Started;
};

} // namespace Host
