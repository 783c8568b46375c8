// Drives that change at random, and what an instance of the plug-in must make of them.
#pragma once

#include "contracts/PluginInterface.h"
#include "contracts/zelPlug.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace Support
{

struct Drive
{
    std::string serial;
    unsigned wear = 0; ///< percent
    unsigned temperature = 30;
    bool partitioned = false;
    bool isMute = false;    ///< gives no SMART page
    std::string fails = {}; ///< the call that fails, so that the drive is not seen; empty: none
    unsigned delay = 0;     ///< of its answer, in milliseconds

    /// As in the status of a drive: 2 is trouble.
    int Status() const { return wear >= 96 && !isMute ? 2 : partitioned ? 1 : 0; }
    /// Of partitions a host sees the status alone.
    bool LooksLike(const Drive& other) const;
};
using Drives = std::map<unsigned, Drive>; ///< by disk number

nlohmann::json MachineHolding(const Drives& drives);

/// Those that answer.
Drives Seen(const Drives& drives);

/// Lets drives of 64 places come, go, fail, answer late and be swapped.
class RandomDrives
{
  public:
    explicit RandomDrives(unsigned seed) : m_Random(seed) {}

    void Change();
    /// One drive comes, goes or changes, as one of 9 kinds has it.
    void ChangeOne(unsigned number, unsigned kind);
    unsigned Pick(unsigned of) { return static_cast<unsigned>(m_Random() % of); }

    Drives drives;

  private:
    std::string NextSerial() { return "S" + std::to_string(++m_Serial); }

    std::mt19937 m_Random;
    int m_Serial = 0;
};

/// "10920 CRUCIAL CT480MX500SSD1 (3) [3][FW0001][S7] severity 2"
std::string EventText(const PI::CEvent& event);
std::string Came(unsigned disk, const std::string& serial); ///< also: went
std::string Failing(unsigned disk);
std::string Worn(unsigned disk);

/// What one instance must show and raise, pass by pass. Its wear threshold is 97, its reserve
/// threshold 0.
class ExpectedInstance
{
  public:
    ExpectedInstance();

    /// Drives that are there when it starts are no news.
    void Start(const Drives& drives);

    /// @param drives    as the machine holds them in the pass
    /// @param isReport  whether standing conditions are told in the pass
    void Pass(const Drives& drives, bool isReport);

    /// Events since the last call, each with the id of its object; "10920 ... of 131...02".
    std::vector<std::string> TakeEvents() { return std::exchange(m_Events, {}); }
    static std::vector<std::string> Texts(const std::vector<PI::CEvent>& events);

    /// "adapter changes", then "disk id changes", a line a drive.
    std::string Text() const;
    static std::string TextOf(const std::vector<PI::CObject>& topology);

    std::size_t DriveCount() const { return m_Drives.size(); }

  private:
    struct Known
    {
        Drive drive;
        std::uint64_t id = 0;
        std::uint64_t changes = 0;
    };
    void Raise(const std::string& text, std::uint64_t id);
    void Report();
    /// What counts as a change of the adapter.
    static std::string AdapterText(const std::map<unsigned, Known>& drives);

    std::map<unsigned, Known> m_Drives;
    std::uint64_t m_AdapterChanges = 0;
    std::uint64_t m_NextId;
    std::vector<std::string> m_Events;
};

} // namespace Support
