// A test with the plug-in loaded as a host loads it, on a machine of its own.
#pragma once

#include "contracts/PluginInterface.h"
#include "contracts/zelPlug.h"
#include "platform/simulated/SimulatedMachine.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Support
{

/// The plug-in library, loaded and with one instance. Loading anew for each test gives each test
/// its own SMART pages and name maps.
class LoadedPlugin
{
  public:
    LoadedPlugin();
    ~LoadedPlugin();
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;

    IPLUGINAPI* Interface() const { return m_Interface; }
    void Release(IPLUGINAPI** plugin) const { m_ReleaseIf(plugin); }
    std::int32_t Command(std::int32_t command, std::uint64_t object = 0, void* record = nullptr)
    {
        return m_Interface->Command(command, object, record);
    }

    /// Command 1; its line on standard output is kept apart.
    std::int32_t Initialize();
    std::vector<PI::CObject> Topology();

    /// Releases the instance and makes a new one in the same loaded library.
    void Renew();

    std::vector<PI::CAdapterID> adapterIDs; ///< record of command 1
    std::string initializeOutput;

  private:
    void* m_Library = nullptr;
    CreateIfFunction m_CreateIf = nullptr;
    ReleaseIfFunction m_ReleaseIf = nullptr;
    IPLUGINAPI* m_Interface = nullptr;
};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(_WIN32)
constexpr unsigned Slowness = 10; ///< of this build; that for Windows runs under Wine
#else
constexpr unsigned Slowness = 1;
#endif

/// How much of something a test does; more of it by an environment variable.
unsigned Amount(const char* variable, unsigned preset);

constexpr std::uint64_t PluginId = 0x0131000000000000;
constexpr std::uint64_t AdapterId = PluginId + 1;
constexpr std::uint64_t FirstDriveId = PluginId + 2;

/// A property of an object, or null.
const PI::CProperty* Find(const PI::CObject& object, PI::_PROPERTY_ID id);

/// The value as text, whatever its form: "text:...", "number:5", "real:23.0", "choice:40093 of
/// 40099 40180", "range:5 in 2..255 by 1", "none".
std::string ValueText(const PI::CProperty& property);
std::string ValueText(const PI::CObject& object, PI::_PROPERTY_ID id); ///< "absent" without it

/// Objects with all their properties as text, to compare two pictures.
std::string PictureText(const std::vector<PI::CObject>& objects);

class PluginTest : public testing::Test
{
  protected:
    PluginTest();
    ~PluginTest() override;

    /// Puts a machine in the place of the last one; a running plug-in sees it at its next walk.
    Platform::SimulatedMachine& UseMachine(const nlohmann::json& machine);

    /// ZKT::Misc::now stands still in a test unless it is moved here.
    static void AdvanceClock(std::int64_t milliseconds);
    static void SetClock(std::uint64_t milliseconds);

    const TestFolder m_Folder; ///< settings, database, and what a machine file names

  private:
    std::shared_ptr<Platform::SimulatedMachine> m_Machine;
};

} // namespace Support
