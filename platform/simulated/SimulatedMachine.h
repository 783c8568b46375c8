// A machine read from a file, with faults and delays.
#pragma once

#include "platform/Machine.h"
#include "platform/simulated/Journal.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Platform
{

/// A file that changed, or a page file that it names, is taken up at the next walk of the device
/// tree. A wrong version leaves the last good one in force and is told on standard error, once.
///
/// A disk that is asked after it went answers ERROR_NOT_READY, as does the opening of a disk that
/// the tree names and "disks" does not; a disk that is in neither is not found. A fault answers
/// ERROR_IO_DEVICE, as does a command whose page or size the file does not tell.
class PLATFORM_API SimulatedMachine : public Machine
{
  public:
    /// @param message  one line "file: place: what is wrong; what to do"
    /// @return null when the file is wrong
    static std::shared_ptr<SimulatedMachine> FromFile(const std::string& path,
                                                      std::string& message);

    /// As FromFile, from the text of a machine file.
    /// @param folder  where relative paths start
    static std::shared_ptr<SimulatedMachine>
    FromText(const std::string& text, const std::string& folder, std::string& message);

    ~SimulatedMachine() override;

    /// Another text in place of the file's or the last one: seen at once, since nobody need save
    /// it.
    /// @return false with a message, and nothing changed, when it is wrong
    bool Replace(const std::string& text, std::string& message);

    std::shared_ptr<const DeviceTree> ReadDeviceTree() override;
    DWORD OpenDevice(const std::string& path, bool writable,
                     std::unique_ptr<Device>& device) override;
    std::optional<DWORD> NumberOfInterface(const std::string& path) override;
    bool ModuleVersion(const std::string& service, std::string& version) override;
    bool Partitions(DWORD diskNumber, std::vector<ZKTX::CSystemPartition>& partitions) override;

    /// The last commands, oldest first, each entered as it is asked.
    std::vector<JournalEntry> JournalEntries() const;
    /// How often a disk was asked something since the journal was cleared.
    std::uint64_t JournalCount(DWORD disk, DriveCall call) const;
    void ClearJournal();

  private:
    struct Source;
    struct State;

    class OpenDisk;

    explicit SimulatedMachine(std::unique_ptr<Source> source);
    static std::shared_ptr<SimulatedMachine> Make(std::unique_ptr<Source> source,
                                                  std::string& message);

    std::unique_ptr<Source> m_Source;
    std::shared_ptr<State> m_State; ///< shared with the devices, which may outlive the machine
};

} // namespace Platform
