#include "platform/linux/KernelPicture.h"

#include "platform/DeviceNames.h"
#include "platform/linux/DiskNames.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include <unistd.h>

namespace Platform
{

namespace
{

constexpr char AhciDriver[] = "ahci";
constexpr char AhciService[] = "storahci";
constexpr char DiskService[] = "disk";
constexpr std::uint64_t KernelSector = 512; // whatever the disk's own is

/// Where a link of sysfs leads below its folder "devices". Nothing for a link that leads anywhere
/// else, leads to nothing, or bears another name than its target.
std::optional<std::string> DevicePathOf(const std::string& link)
{
    constexpr std::string_view Folder = "../devices/";
    const auto target = ReadLink(link);
    if (!target)
        return std::nullopt;
    const std::size_t at = target->find(Folder);
    if (at == std::string::npos || target->find_first_not_of("./") < at ||
        target->find("/../", at + Folder.size() - 1) != std::string::npos ||
        LastName(*target) != LastName(link))
        return std::nullopt;
    if (access(link.c_str(), F_OK) != 0)
    {
        CheckResources(errno);
        return std::nullopt;
    }
    return target->substr(at + Folder.size());
}

/// Whether a text is "major:minor".
bool IsDeviceNumber(std::string_view text)
{
    constexpr char Digits[] = "0123456789";
    const std::size_t colon = text.find_first_not_of(Digits);
    return colon != 0 && colon < text.size() - 1 && text[colon] == ':' &&
           text.find_first_not_of(Digits, colon + 1) == text.npos;
}

class PictureReader
{
  public:
    explicit PictureReader(const SystemFolders& folders) : m_Sys(folders.sys)
    {
        m_Tree.emplace_back().id = RootDeviceId;
    }

    KernelPicture Read()
    {
        ReadFunctions();
        ReadDisks();
        LinkNodes();
        m_Picture.tree = std::make_shared<const DeviceTree>(std::move(m_Tree));
        return std::move(m_Picture);
    }

  private:
    void ReadFunctions()
    {
        const std::string folder = m_Sys + "/bus/pci/devices/";
        std::map<std::string, std::string> names; // by path: a function follows what it hangs on
        for (const std::string& name : ListFolder(folder))
        {
            const bool isFunction = name.find_first_not_of("0123456789abcdef:.") == name.npos;
            const auto path = isFunction ? DevicePathOf(folder + name) : std::nullopt;
            if (path)
                names.emplace(*path, name);
        }
        for (const auto& [path, name] : names)
        {
            DeviceNode node;
            node.id = "PCI\\" + name;
            node.parent = ControllerOf(path);
            if (const auto driver = ReadLink(folder + name + "/driver"))
                node.service = LastName(*driver);
            if (node.service == AhciDriver)
                node.service = AhciService;
            m_Functions.emplace(path, m_Tree.size());
            m_Tree.push_back(std::move(node));
        }
    }

    void ReadDisks()
    {
        const std::string folder = m_Sys + "/block/";
        std::map<DWORD, std::string> names;
        for (const std::string& name : ListFolder(folder))
        {
            if (const auto number = DiskNumberOfName(name))
                names.emplace(*number, name);
        }
        for (const auto& [number, name] : names)
        {
            const auto path = DevicePathOf(folder + name);
            const auto disk = path ? ReadDisk(folder + name, name) : nullptr;
            if (!disk)
                continue;
            DeviceNode node;
            node.id = "SCSI\\DISK\\" + name;
            node.service = DiskService;
            node.parent = ControllerOf(*path);
            node.diskInterfaces.push_back(DiskInterfacePath(node.id, 0));
            m_Picture.interfaces.emplace(FoldCase(node.diskInterfaces.front()), number);
            if (m_Tree[node.parent].service == AhciService)
                ReadDevice(disk->folder + "/device", *disk);
            m_Picture.disks.emplace(number, disk);
            m_Tree.push_back(std::move(node));
        }
    }

    /// What only the disks have that are asked.
    static void ReadDevice(const std::string& folder, KernelDisk& disk)
    {
        if (ReadAttribute(folder + "/power/control") != "on")
            disk.runtimeStatus = OpenSystemFile(folder + "/power/runtime_status");
        // It has the name of the SCSI device.
        const std::string name = LastName(ReadLink(folder).value_or(""));
        const auto device = ReadAttribute(folder + "/bsg/" + name + "/dev");
        if (name.empty() || name.front() == '.' || !device || !IsDeviceNumber(*device))
            return;
        disk.generic.name = name;
        disk.generic.device = *device;
    }

    static std::shared_ptr<KernelDisk> ReadDisk(const std::string& folder, const std::string& name)
    {
        auto disk = std::make_shared<KernelDisk>();
        disk->folder = folder;
        if (!ReadExtent(folder, name, disk->whole))
            return nullptr;
        disk->sequence = ReadAttribute(folder + "/diskseq").value_or("");
        disk->identity = disk->sequence.empty()
                             ? ReadAttribute(folder + "/device/wwid").value_or("")
                             : disk->sequence;
        disk->isAta = ReadAttribute(folder + "/device/vendor").value_or("").starts_with("ATA ");
        for (const std::string& entry : ListFolder(folder))
        {
            if (!entry.starts_with(name))
                continue;
            KernelPartition partition;
            const std::string inside = folder + "/" + entry;
            const auto index = ReadNumber(inside + "/partition");
            const auto start = ReadNumber(inside + "/start");
            if (!index || *index > MostPartitions || entry != name + std::to_string(*index) ||
                !start || *start > MostSectors || !ReadExtent(inside, entry, partition))
                continue;
            partition.index = static_cast<std::int32_t>(*index);
            partition.start = *start * KernelSector;
            disk->partitions.push_back(std::move(partition));
        }
        std::sort(disk->partitions.begin(), disk->partitions.end(),
                  [](const KernelPartition& one, const KernelPartition& other)
                  { return std::tie(one.index, one.name) < std::tie(other.index, other.name); });
        return disk;
    }

    /// What disks and partitions have in common.
    static bool ReadExtent(const std::string& folder, const std::string& name,
                           KernelPartition& extent)
    {
        const auto device = ReadAttribute(folder + "/dev");
        const auto sectors = ReadNumber(folder + "/size");
        if (!device || !IsDeviceNumber(*device) || !sectors || *sectors > MostSectors)
            return false;
        extent.name = name;
        extent.device = *device;
        extent.bytes = *sectors * KernelSector;
        extent.isReadOnly = ReadNumber(folder + "/ro") == 1;
        return true;
    }

    /// The nearest PCI function on the way to a device; the root if there is none. Its path is
    /// shorter than the device's own, so that no links lead in a circle.
    std::size_t ControllerOf(const std::string& path) const
    {
        for (std::size_t end = path.rfind('/'); end != std::string::npos && end != 0;
             end = path.rfind('/', end - 1))
        {
            const auto found = m_Functions.find(path.substr(0, end));
            if (found != m_Functions.end())
                return found->second;
        }
        return 0;
    }

    void LinkNodes()
    {
        std::vector<std::size_t> last(m_Tree.size(), DeviceNode::None);
        for (std::size_t position = 1; position < m_Tree.size(); ++position)
        {
            DeviceNode& parent = m_Tree[m_Tree[position].parent];
            const std::size_t before = std::exchange(last[m_Tree[position].parent], position);
            (before == DeviceNode::None ? parent.firstChild : m_Tree[before].nextSibling) =
                position;
        }
    }

    static constexpr std::uint64_t MostSectors = UINT64_MAX / KernelSector;
    static constexpr std::uint64_t MostPartitions = 65535;

    std::string m_Sys;
    KernelPicture m_Picture;
    DeviceTree m_Tree;
    std::map<std::string, std::size_t> m_Functions; ///< positions in the tree, by path
};

} // namespace

bool KernelDisk::IsSuspended() const
{
    std::array<char, 16> text = {};
    const ssize_t count =
        runtimeStatus.IsOpen() ? pread(runtimeStatus.Get(), text.data(), text.size(), 0) : 0;
    // "suspended" or "suspending"
    return count > 0 &&
           std::string_view(text.data(), static_cast<std::size_t>(count)).starts_with("suspend");
}

bool KernelDisk::IsUnchanged(const KernelDisk& before) const
{
    // Without a sequence it may be another stay of the same disk, whose files are gone.
    return !sequence.empty() && sequence == before.sequence && whole == before.whole &&
           folder == before.folder && isAta == before.isAta && partitions == before.partitions &&
           runtimeStatus.IsOpen() == before.runtimeStatus.IsOpen() &&
           generic.name == before.generic.name && generic.device == before.generic.device;
}

KernelPicture ReadKernelPicture(const SystemFolders& folders)
{
    return PictureReader(folders).Read();
}

std::string DriverOfService(const std::string& service)
{
    const std::string folded = FoldCase(service);
    return folded == AhciService ? AhciDriver : folded;
}

} // namespace Platform
