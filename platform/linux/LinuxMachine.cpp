#include "platform/linux/LinuxMachine.h"

#include "platform/DeviceNames.h"
#include "platform/linux/AtaPassThrough.h"
#include "platform/linux/DiskContents.h"
#include "platform/linux/MissingRights.h"
#include "platform/linux/SystemTables.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

namespace Platform
{

namespace
{

/// Runs a call in which the thread is not cancelled: open files would stay behind. One that was
/// cancelled while a disk answered ends as soon as the answer is there.
template <class Body> auto Uncancelled(Body body)
{
    CancellationPoint();
    auto result = [&]
    {
        const CancellationPause pause;
        return body();
    }();
    CancellationPoint();
    return result;
}

/// The last page of a kind that each disk gave, for the time that it sleeps. Safe from any thread.
class LastPages
{
  public:
    void Keep(const KernelDisk& disk, const Sector& page)
    {
        const std::lock_guard guard(m_Lock);
        m_Pages[disk.whole.name] = {disk.identity, page};
    }

    bool Find(const KernelDisk& disk, Sector& page) const
    {
        const std::lock_guard guard(m_Lock);
        const auto found = m_Pages.find(disk.whole.name);
        // Another disk may have the name by now.
        if (found == m_Pages.end() || disk.identity.empty() ||
            found->second.identity != disk.identity)
            return false;
        page = found->second.page;
        return true;
    }

  private:
    struct Entry
    {
        std::string identity;
        Sector page;
    };
    mutable std::mutex m_Lock;
    std::map<std::string, Entry> m_Pages; ///< by disk name, of which there are few
};

} // namespace

struct LinuxMachine::State
{
    State(SystemFolders where, std::shared_ptr<DiskPort> calls)
        : folders(std::move(where)), port(std::move(calls)), tables(folders),
          contents(folders, port)
    {
    }

    const SystemFolders folders;
    const std::shared_ptr<DiskPort> port;
    SystemTables tables;
    DiskContents contents;
    LastPages identities;
    LastPages smartPages;
    MissingRights rights;

    /// Opens the device file and takes note of a right that is missing.
    DWORD OpenFile(const KernelDisk& disk, FileDescriptor& file)
    {
        const std::string path = folders.dev + "/" + disk.whole.name;
        const int error = port->Open(path, disk.whole.device, file);
        if (error == EACCES)
            rights.Note(disk.whole.name, Right::ReadAccess);
        else if (error == EPERM)
            rights.Note(disk.whole.name, Right::DeviceRule);
        else if (error == ENOENT && ReadAttribute(disk.folder + "/dev"))
            rights.Note(disk.whole.name, Right::DeviceFile);
        if (error == ENOENT)
            return ERROR_FILE_NOT_FOUND;
        return error == 0 ? static_cast<DWORD>(ERROR_SUCCESS) : ErrorOfCall(error);
    }

    /// Takes note of what the kernel made of an ATA command.
    DWORD NoteAnswer(const KernelDisk& disk, DWORD error)
    {
        if (error == ERROR_ACCESS_DENIED)
            rights.Note(disk.whole.name, Right::RawIo);
        else
            rights.Clear(disk.whole.name);
        return error;
    }
};

/// A disk that has been opened. One that the kernel has suspended has no open file.
class LinuxMachine::OpenDisk : public Device
{
  public:
    OpenDisk(std::shared_ptr<State> state, DWORD number, std::shared_ptr<const KernelDisk> disk)
        : m_State(std::move(state)), m_Number(number), m_Disk(std::move(disk))
    {
    }

    /// Opens the device file unless the disk is suspended.
    DWORD Open()
    {
        const std::lock_guard guard(m_Opening);
        if (m_IsSuspended || m_File.IsOpen())
            return ERROR_SUCCESS;
        m_IsSuspended = m_Disk->IsSuspended();
        return m_IsSuspended ? static_cast<DWORD>(ERROR_SUCCESS)
                             : m_State->OpenFile(*m_Disk, m_File);
    }

    DWORD DiskNumber(DWORD& number) override
    {
        number = m_Number;
        return ERROR_SUCCESS;
    }

    DWORD SmartVersion() override
    {
        // There is no question for it: what is an ATA disk takes ATA commands.
        return m_Disk->isAta ? ERROR_SUCCESS : ERROR_INVALID_FUNCTION;
    }

    DWORD Identify(Sector& page) override
    {
        return Ask(
            [&]() -> DWORD
            {
                // A disk that slept when it was asked last is asked first whether it still does.
                bool isAsleep = m_IsSuspended;
                DWORD error = ERROR_SUCCESS;
                if (!isAsleep && m_Disk->isAsleep && m_State->identities.Find(*m_Disk, page))
                    error = AskPowerMode(isAsleep);
                if (error != ERROR_SUCCESS)
                    return error;
                if (isAsleep)
                    return m_State->identities.Find(*m_Disk, page) || KeptIdentity(page)
                               ? ERROR_SUCCESS
                               : ERROR_NOT_READY;
                error =
                    m_State->NoteAnswer(*m_Disk, SendIdentify(*m_State->port, m_File.Get(), page));
                if (error == ERROR_SUCCESS)
                    m_State->identities.Keep(*m_Disk, page);
                return error;
            });
    }

    DWORD SmartData(Sector& page) override
    {
        return Ask(
            [&]() -> DWORD
            {
                bool isAsleep = m_IsSuspended;
                DWORD error = ERROR_SUCCESS;
                if (!isAsleep)
                    error = AskPowerMode(isAsleep);
                if (error != ERROR_SUCCESS)
                    return error;
                if (isAsleep)
                    return m_State->smartPages.Find(*m_Disk, page) ? ERROR_SUCCESS
                                                                   : ERROR_NOT_READY;
                error = m_State->NoteAnswer(*m_Disk,
                                            SendSmartReadData(*m_State->port, m_File.Get(), page));
                if (error == ERROR_SUCCESS)
                    m_State->smartPages.Keep(*m_Disk, page);
                return error;
            });
    }

    DWORD Length(std::uint64_t& bytes) override
    {
        return Ask(
            [&]() -> DWORD
            {
                if (!m_IsSuspended)
                {
                    const int error = m_State->port->Length(m_File.Get(), bytes);
                    return error == 0 ? static_cast<DWORD>(ERROR_SUCCESS) : ErrorOfCall(error);
                }
                bytes = m_Disk->whole.bytes;
                return ERROR_SUCCESS;
            });
    }

  private:
    DWORD AskPowerMode(bool& isAsleep)
    {
        const DWORD error = m_State->NoteAnswer(
            *m_Disk, SendCheckPowerMode(*m_State->port, m_File.Get(), isAsleep));
        if (error == ERROR_SUCCESS)
            m_Disk->isAsleep = isAsleep;
        return error;
    }

    /// Asks the disk, which is opened first if only its number was asked until now.
    template <class Question> DWORD Ask(Question question)
    {
        return Uncancelled(
            [&]() -> DWORD
            {
                const DWORD error = m_File.IsOpen() ? static_cast<DWORD>(ERROR_SUCCESS) : Open();
                return error == ERROR_SUCCESS ? question() : error;
            });
    }

    /// IDENTIFY data as the kernel read it when the disk came: VPD page 89h of SAT.
    bool KeptIdentity(Sector& page) const
    {
        constexpr std::size_t DataOffset = 60;
        const auto vpd =
            ReadSystemFile(m_Disk->folder + "/device/vpd_pg89", DataOffset + page.size());
        if (!vpd || vpd->size() != DataOffset + page.size())
            return false;
        std::copy(vpd->begin() + DataOffset, vpd->end(), page.begin());
        return true;
    }

    std::shared_ptr<State> m_State;
    DWORD m_Number;
    std::shared_ptr<const KernelDisk> m_Disk;
    std::mutex m_Opening; ///< what follows is written once
    FileDescriptor m_File;
    bool m_IsSuspended = false;
};

LinuxMachine::LinuxMachine(SystemFolders folders, std::shared_ptr<DiskPort> port)
    : m_State(std::make_shared<State>(std::move(folders), std::move(port)))
{
}

LinuxMachine::~LinuxMachine() = default;

std::shared_ptr<const DeviceTree> LinuxMachine::ReadDeviceTree()
{
    return Uncancelled(
        [&]
        {
            const auto before = m_State->tables.Last();
            const auto picture = m_State->tables.Refresh();
            if (picture != before)
                m_State->contents.Keep(*picture);
            return picture->tree;
        });
}

DWORD LinuxMachine::OpenDevice(const std::string& path, bool writable,
                               std::unique_ptr<Device>& device)
{
    return Uncancelled(
        [&]() -> DWORD
        {
            const auto picture = m_State->tables.Last();
            DWORD number = 0;
            if (!DiskNumberOfPath(path, number))
            {
                const auto named = picture->interfaces.find(FoldCase(path));
                if (named == picture->interfaces.end())
                    return ERROR_FILE_NOT_FOUND;
                number = named->second;
            }
            const auto found = picture->disks.find(number);
            if (found == picture->disks.end())
                return ERROR_FILE_NOT_FOUND;
            auto disk = std::make_unique<OpenDisk>(m_State, number, found->second);
            // Whoever opens for reading alone wants the number, which is known.
            const DWORD error = writable ? disk->Open() : static_cast<DWORD>(ERROR_SUCCESS);
            if (error == ERROR_SUCCESS)
                device = std::move(disk);
            return error;
        });
}

bool LinuxMachine::ModuleVersion(const std::string& service, std::string& version)
{
    return Uncancelled(
        [&]
        {
            const std::string driver = DriverOfService(service);
            if (driver.empty() || driver.find('/') != std::string::npos || driver.front() == '.')
                return false;
            try
            {
                const std::string& sys = m_State->folders.sys;
                auto text = ReadAttribute(sys + "/module/" + driver + "/version");
                // A driver of the kernel's own need not have a version of its own.
                if (!text && !ListFolder(sys + "/bus/pci/drivers/" + driver).empty())
                    text = ReadAttribute(m_State->folders.proc + "/sys/kernel/osrelease");
                version = text.value_or("");
                return text.has_value();
            }
            catch (const std::system_error&)
            {
                return false;
            }
        });
}

bool LinuxMachine::Partitions(DWORD diskNumber, std::vector<ZKTX::CSystemPartition>& partitions)
{
    return Uncancelled(
        [&]
        {
            try
            {
                const auto picture = m_State->tables.Last();
                const auto found = picture->disks.find(diskNumber);
                if (found == picture->disks.end())
                    return false;
                m_State->contents.AppendPartitions(found->second, *m_State->tables.Mounts(),
                                                   partitions);
                return true;
            }
            catch (const std::system_error&)
            {
                return false;
            }
        });
}

std::shared_ptr<Machine> ThisComputer()
{
    return Uncancelled([] { return std::make_shared<LinuxMachine>(); });
}

std::string LinuxMachine::MissingRight()
{
    return Uncancelled(
        [&]
        {
            const std::string status =
                ReadSystemFile(m_State->folders.proc + "/self/status", 1 << 16).value_or("");
            return m_State->rights.Tell(*m_State->tables.Last(), HasRawIo(status));
        });
}

} // namespace Platform
