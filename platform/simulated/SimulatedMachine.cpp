#include "platform/simulated/SimulatedMachine.h"

#include "contracts/zelKit/Thread.h"
#include "platform/DeviceNames.h"
#include "platform/HostSystem.h"
#include "platform/simulated/MachineFile.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

namespace Platform
{

/// Where the machine comes from, and what was read of it last. Guarded by its lock, which no device
/// call takes.
struct SimulatedMachine::Source
{
    std::string path; ///< empty for a text
    std::string text;
    std::string folder;

    std::mutex lock;
    std::vector<WatchedFile> files; ///< of the last version, good or wrong
    std::string complaint;          ///< about the last version, if wrong

    /// @param looked  the files of this version
    std::shared_ptr<MachineRecord> Read(std::vector<WatchedFile>& looked,
                                        std::string& message) const
    {
        return path.empty() ? ParseMachine(text, "machine text", folder, looked, message)
                            : ReadMachine(path, looked, message);
    }

    bool IsAnyFresh() const
    {
        return std::any_of(files.begin(), files.end(),
                           [](const WatchedFile& file) { return file.isFresh; });
    }

    bool HasChanged() const
    {
        return std::any_of(files.begin(), files.end(),
                           [](const WatchedFile& file)
                           { return StampOf(file.path) != file.stamp; });
    }
};

struct SimulatedMachine::State
{
    Journal journal;

    std::shared_ptr<const MachineRecord> Current() const
    {
        const std::lock_guard guard(m_Lock);
        return m_Record;
    }

    /// Keeps the tree that stands if the new one is equal, so that walkers see no new tree for a
    /// change elsewhere.
    void Set(std::shared_ptr<MachineRecord> record)
    {
        const auto before = Current();
        if (before && *before->tree == *record->tree)
            record->tree = before->tree;
        const std::lock_guard guard(m_Lock);
        m_Record = std::move(record);
    }

    std::shared_ptr<const DiskRecord> Disk(DWORD number) const
    {
        const auto record = Current();
        const auto found = record->disks.find(number);
        return found == record->disks.end() ? nullptr : found->second;
    }

    /// Lets the disk take its time. Its record as it stands afterwards; null when the disk is gone.
    std::shared_ptr<const DiskRecord> Ask(DWORD number, DriveCall call)
    {
        std::shared_ptr<const DiskRecord> disk = Disk(number);
        if (!disk)
            return nullptr;
        journal.Enter(number, call);
        const std::uint32_t delay = disk->delay[PositionOf(call)];
        if (delay != 0)
        {
            SleepFor(delay);
            disk = Disk(number);
        }
        return disk;
    }

  private:
    mutable std::mutex m_Lock;
    std::shared_ptr<const MachineRecord> m_Record;
};

/// A disk that has been opened. Refers to it by number: it answers as the file says at that moment.
class SimulatedMachine::OpenDisk : public Device
{
  public:
    OpenDisk(std::shared_ptr<State> state, DWORD number)
        : m_State(std::move(state)), m_Number(number)
    {
    }

    DWORD DiskNumber(DWORD& number) override
    {
        return Answer(DriveCall::DeviceNumber,
                      [&](const DiskRecord&)
                      {
                          number = m_Number;
                          return true;
                      });
    }

    DWORD SmartVersion() override
    {
        return Answer(DriveCall::SmartVersion, [](const DiskRecord&) { return true; });
    }

    DWORD Identify(Sector& page) override
    {
        return Answer(DriveCall::Identify,
                      [&](const DiskRecord& disk) { return Copy(disk.identify, page); });
    }

    DWORD SmartData(Sector& page) override
    {
        return Answer(DriveCall::SmartData,
                      [&](const DiskRecord& disk) { return Copy(disk.smart, page); });
    }

    DWORD Length(std::uint64_t& bytes) override
    {
        return Answer(DriveCall::Length,
                      [&](const DiskRecord& disk) { return Copy(disk.bytes, bytes); });
    }

  private:
    template <class Value> static bool Copy(const std::optional<Value>& told, Value& value)
    {
        if (told)
            value = *told;
        return told.has_value();
    }

    template <class Reader> DWORD Answer(DriveCall call, Reader reader)
    {
        const auto disk = m_State->Ask(m_Number, call);
        if (!disk)
            return ERROR_NOT_READY;
        if (ZKT::Threading::StopRequested())
            return ERROR_OPERATION_ABORTED;
        return !disk->fails[PositionOf(call)] && reader(*disk) ? ERROR_SUCCESS : ERROR_IO_DEVICE;
    }

    std::shared_ptr<State> m_State;
    DWORD m_Number;
};

SimulatedMachine::SimulatedMachine(std::unique_ptr<Source> source)
    : m_Source(std::move(source)), m_State(std::make_shared<State>())
{
}

SimulatedMachine::~SimulatedMachine() = default;

std::shared_ptr<SimulatedMachine> SimulatedMachine::Make(std::unique_ptr<Source> source,
                                                         std::string& message)
{
    auto record = source->Read(source->files, message);
    if (!record)
        return nullptr;
    std::shared_ptr<SimulatedMachine> machine(new SimulatedMachine(std::move(source)));
    machine->m_State->Set(std::move(record));
    return machine;
}

std::shared_ptr<SimulatedMachine> SimulatedMachine::FromFile(const std::string& path,
                                                             std::string& message)
{
    auto source = std::make_unique<Source>();
    source->path = path;
    return Make(std::move(source), message);
}

std::shared_ptr<SimulatedMachine>
SimulatedMachine::FromText(const std::string& text, const std::string& folder, std::string& message)
{
    auto source = std::make_unique<Source>();
    source->text = text;
    source->folder = folder;
    return Make(std::move(source), message);
}

bool SimulatedMachine::Replace(const std::string& text, std::string& message)
{
    Source& source = *m_Source;
    const std::lock_guard guard(source.lock);
    std::vector<WatchedFile> files;
    auto record = ParseMachine(text, "machine text", source.folder, files, message);
    if (!record)
        return false;
    source.path.clear();
    source.text = text;
    source.files = std::move(files);
    source.complaint.clear();
    m_State->Set(std::move(record));
    return true;
}

std::shared_ptr<const DeviceTree> SimulatedMachine::ReadDeviceTree()
{
    Source& source = *m_Source;
    const std::lock_guard guard(source.lock);
    if (source.HasChanged() || source.IsAnyFresh())
    {
        // Taken over together: a version for which memory runs out meanwhile is read again.
        std::string message;
        std::vector<WatchedFile> files;
        auto record = source.Read(files, message);
        if (!record && message != source.complaint)
            Warn(message + " (the last good version stays in force)");
        if (record)
            m_State->Set(std::move(record));
        source.files = std::move(files);
        source.complaint = std::move(message);
    }
    return m_State->Current()->tree;
}

DWORD SimulatedMachine::OpenDevice(const std::string& path, bool /*writable*/,
                                   std::unique_ptr<Device>& device)
{
    const auto record = m_State->Current();
    DWORD number = 0;
    if (!DiskNumberOfPath(path, number))
    {
        const auto named = NumberOfInterface(path);
        if (!named)
            return ERROR_FILE_NOT_FOUND;
        number = *named;
    }
    else if (record->disks.count(number) == 0)
        return ERROR_FILE_NOT_FOUND;

    const auto disk = m_State->Ask(number, DriveCall::Open);
    if (!disk)
        return ERROR_NOT_READY;
    if (disk->fails[PositionOf(DriveCall::Open)])
        return ERROR_IO_DEVICE;
    device = std::make_unique<OpenDisk>(m_State, number);
    return ERROR_SUCCESS;
}

std::optional<DWORD> SimulatedMachine::NumberOfInterface(const std::string& path)
{
    const auto record = m_State->Current();
    const auto found = FindFolded(record->interfaces, path);
    return found == record->interfaces.end() ? std::nullopt : std::optional(found->second);
}

bool SimulatedMachine::ModuleVersion(const std::string& service, std::string& version)
{
    const auto record = m_State->Current();
    const auto found = record->modules.find(FoldCase(service));
    if (found == record->modules.end())
        return false;
    version = found->second;
    return true;
}

bool SimulatedMachine::Partitions(DWORD diskNumber, std::vector<ZKTX::CSystemPartition>& partitions)
{
    const auto disk = m_State->Ask(diskNumber, DriveCall::Partitions);
    if (!disk)
        return false;
    partitions.insert(partitions.end(), disk->partitions.begin(), disk->partitions.end());
    return true;
}

std::vector<JournalEntry> SimulatedMachine::JournalEntries() const
{
    return m_State->journal.Entries();
}

std::uint64_t SimulatedMachine::JournalCount(DWORD disk, DriveCall call) const
{
    return m_State->journal.Count(disk, call);
}

void SimulatedMachine::ClearJournal()
{
    m_State->journal.Clear();
}

} // namespace Platform
