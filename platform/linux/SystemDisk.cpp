#include "platform/linux/SystemDisk.h"

#include "platform/linux/AtaPassThrough.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace Platform
{

namespace
{

/// A disk that has been opened. One that the kernel has suspended is sent nothing.
class SystemDisk : public Device
{
  public:
    SystemDisk(std::shared_ptr<SystemState> state, DWORD number,
               std::shared_ptr<const KernelDisk> disk)
        : m_State(std::move(state)), m_Number(number), m_Disk(std::move(disk))
    {
    }

    /// Opens what takes commands, unless the disk is suspended.
    DWORD Open()
    {
        if (m_IsReady)
            return ERROR_SUCCESS;
        const std::lock_guard guard(m_Opening);
        if (m_IsReady)
            return ERROR_SUCCESS;
        m_IsSuspended = m_Disk->IsSuspended();
        DWORD error = ERROR_SUCCESS;
        if (!m_IsSuspended)
            error = OpenFile();
        m_IsReady = error == ERROR_SUCCESS;
        return error;
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
                Sector known;
                if (!isAsleep && m_Disk->isAsleep &&
                    m_State->identities.Find(m_Number, *m_Disk, known))
                    error = AskPowerMode(isAsleep);
                if (error != ERROR_SUCCESS)
                    return error;
                if (isAsleep)
                    return m_State->identities.Find(m_Number, *m_Disk, page) || KeptIdentity(page)
                               ? ERROR_SUCCESS
                               : ERROR_NOT_READY;
                error =
                    m_State->NoteAnswer(*m_Disk, SendIdentify(*m_State->port, m_Commands, page));
                if (error == ERROR_SUCCESS)
                    m_State->identities.Keep(m_Number, *m_Disk, page);
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
                    return m_State->smartPages.Find(m_Number, *m_Disk, page) ? ERROR_SUCCESS
                                                                             : ERROR_NOT_READY;
                error = m_State->NoteAnswer(*m_Disk,
                                            SendSmartReadData(*m_State->port, m_Commands, page));
                if (error == ERROR_SUCCESS)
                    m_State->smartPages.Keep(m_Number, *m_Disk, page);
                return error;
            });
    }

    DWORD Length(std::uint64_t& bytes) override
    {
        // The kernel announces a new length like a new disk; an old one tells it within a minute.
        bytes = m_Disk->whole.bytes;
        return ERROR_SUCCESS;
    }

  private:
    DWORD OpenFile()
    {
        m_Commands = {m_State->GenericDeviceOf(*m_Disk), true};
        if (m_Commands.descriptor >= 0)
            return ERROR_SUCCESS;
        const DWORD error = m_State->OpenFile(*m_Disk, m_File);
        m_Commands = {m_File.Get()};
        return error;
    }

    DWORD AskPowerMode(bool& isAsleep)
    {
        const DWORD error =
            m_State->NoteAnswer(*m_Disk, SendCheckPowerMode(*m_State->port, m_Commands, isAsleep));
        if (error == ERROR_SUCCESS)
            m_Disk->isAsleep = isAsleep;
        return error;
    }

    /// Asks the disk, which is opened first if only its number was asked until now.
    template <class Question> DWORD Ask(Question question)
    {
        const DWORD error = Open();
        return error == ERROR_SUCCESS ? question() : error;
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

    std::shared_ptr<SystemState> m_State;
    DWORD m_Number;
    std::shared_ptr<const KernelDisk> m_Disk;
    std::mutex m_Opening; ///< what follows is written under it, and then stands
    std::atomic<bool> m_IsReady = false;
    FileDescriptor m_File;
    CommandFile m_Commands; ///< of this file, or of the disk's generic device
    bool m_IsSuspended = false;
};

} // namespace

DWORD OpenSystemDisk(std::shared_ptr<SystemState> state, DWORD number,
                     std::shared_ptr<const KernelDisk> disk, bool now,
                     std::unique_ptr<Device>& device)
{
    auto opened = std::make_unique<SystemDisk>(std::move(state), number, std::move(disk));
    const DWORD error = now ? opened->Open() : static_cast<DWORD>(ERROR_SUCCESS);
    if (error == ERROR_SUCCESS)
        device = std::move(opened);
    return error;
}

} // namespace Platform
