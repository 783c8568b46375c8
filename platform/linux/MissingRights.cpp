#include "platform/linux/MissingRights.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <linux/capability.h>

namespace Platform
{

namespace
{

constexpr char RawIoName[] = "the capability CAP_SYS_RAWIO";
constexpr char HowToGetRawIo[] =
    "'setpriv --inh-caps +sys_rawio --ambient-caps +sys_rawio' or systemd's AmbientCapabilities=";

std::string Listed(const std::vector<std::string>& disks)
{
    constexpr std::size_t Most = 8;
    std::string text;
    for (std::size_t at = 0; at < disks.size() && at < Most; ++at)
        text += (at == 0 ? "" : ", ") + disks[at];
    if (disks.size() > Most)
        text += " and " + std::to_string(disks.size() - Most) + " more";
    return text;
}

/// What is missing for some disks, and what to do.
std::string Sentence(Right right, const std::vector<std::string>& disks, bool hasRawIo)
{
    const std::string device = "/dev/" + disks.front();
    switch (right)
    {
    case Right::ReadAccess:
        return Listed(disks) + " cannot be read: read access to " + device +
               (hasRawIo
                    ? " is missing; run as root, or as a member of the group that owns " + device
                    : std::string(" and ") + RawIoName +
                          " are missing; run as root, or as a member of the group that owns " +
                          device + " with " + HowToGetRawIo);
    case Right::RawIo:
        return Listed(disks) + " cannot be asked: " + RawIoName +
               " is missing; run as root, or give it with " + HowToGetRawIo;
    case Right::DeviceFile:
        return Listed(disks) + " cannot be read: " + device +
               " is missing; give the disk's device file to this container";
    case Right::DeviceRule:
        return Listed(disks) + " cannot be read: the device rules of this container forbid " +
               device + "; allow it there for reading";
    }
    return {};
}

} // namespace

void MissingRights::Note(const std::string& disk, Right right)
{
    const std::lock_guard guard(m_Lock);
    m_Refused[disk] = right;
    m_HasAny = true;
}

void MissingRights::Clear(const std::string& disk)
{
    if (!m_HasAny) // every answer of a disk comes here
        return;
    const std::lock_guard guard(m_Lock);
    m_Refused.erase(disk);
    m_HasAny = !m_Refused.empty();
}

std::string MissingRights::Tell(const KernelPicture& picture, bool hasRawIo) const
{
    std::map<Right, std::vector<std::string>> disks;
    {
        const std::lock_guard guard(m_Lock);
        for (const auto& [number, disk] : picture.disks)
        {
            const auto refused = m_Refused.find(disk->whole.name);
            if (refused != m_Refused.end())
                disks[refused->second].push_back(disk->whole.name);
        }
    }
    std::string line;
    for (const auto& [right, names] : disks)
        line += (line.empty() ? "" : "; ") + Sentence(right, names, hasRawIo);
    return line;
}

bool HasRawIo(const std::string& status)
{
    constexpr char Field[] = "\nCapEff:";
    const std::size_t at = status.find(Field);
    if (at == std::string::npos)
        return false;
    const std::uint64_t mask = std::strtoull(status.c_str() + at + sizeof(Field) - 1, nullptr, 16);
    return (mask >> CAP_SYS_RAWIO & 1) != 0;
}

} // namespace Platform
