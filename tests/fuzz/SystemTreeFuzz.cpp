// A computer whose kernel tells anything: a good tree of files with faults in it, and disks that
// answer anything. Input: how many faults there are, each with its place and kind, then what the
// disks answer, with more faults in between; all of it again for the same machine.
#include "platform/linux/LinuxMachine.h"
#include "tests/fuzz/Require.h"

#include <boost/algorithm/string.hpp>

#include <filesystem>
#include <fstream>
#include <new>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>

namespace
{

using namespace Platform;
namespace fs = std::filesystem;

/// What a kernel shows: names, and behind each a link or a text, "_" for blanks. The last ones stay
/// as they are, and so does their disk.
constexpr char Tree[] = R"(sys/bus/pci/devices/00:1f.2 ->../../../devices/pci0/00:1f.2 @ -
    @/driver ->../ahci sys/bus/pci/devices/01:00.0 ->../../../devices/pci0/00:1f.2/01:00.0
    sys/block/sdb ->../devices/pci0/00:1f.2/01:00.0/sdb @/01:00.0/sdb/size 8 @/01:00.0/sdb/dev 8:16
    sys/block/sda ->../devices/pci0/00:1f.2/sda @/sda/dev 8:0 @/sda/size 4096 @/sda/ro 0
    @/sda/sda1 - @/sda/stat 1_2_3_4_5_6_7_8 @/sda/diskseq 9 @/sda/device/vendor ATA_____
    @/sda/device/wwid t10.ATA @/sda/device/vpd_pg89 x @/sda/device/power/runtime_status active
    @/sda/sda1/dev 8:1 @/sda/sda1/size 16 @/sda/sda1/partition 1 @/sda/sda1/start 8 @/sda -
    proc/swaps /dev/sdb_partition_1 @/sda/device -
    proc/self/mountinfo 1_2_8:1_/_/a_rw_-_x_/dev/sda1_rw proc/self/status CapEff:_20000
    sys/bus/pci/devices/02:00.0 ->../../../devices/02:00.0 sys/devices/02:00.0/driver ->../ahci
    sys/block/sdz ->../devices/02:00.0/sdz sys/devices/02:00.0/sdz/size 8
    sys/devices/02:00.0/sdz/dev 8:32 sys/kernel/uevent_seqnum 0)";
constexpr std::size_t Kept = 6;

struct Computer : DiskPort
{
    const std::uint8_t* data = nullptr;
    std::size_t left = 0;
    const std::string folder = "/dev/shm/tarnis-fuzz-" + std::to_string(getpid()) + "/";
    std::vector<std::string> tree; ///< names, and behind each what it is

    ~Computer() override { fs::remove_all(folder); }
    std::uint8_t Next() { return left == 0 ? std::uint8_t{0} : (--left, *data++); }

    void Put(const fs::path& path, const std::string& what) const
    {
        std::error_code ignored;
        fs::create_directories(path.parent_path(), ignored);
        if (what.starts_with("->"))
            fs::create_symlink(what.substr(2).c_str(), path, ignored);
        else if (what != "-")
            std::ofstream(path) << boost::replace_all_copy(what, "_", " ") << '\n';
    }
    /// One fault. Nothing is touched by way of a link, which may lead anywhere.
    void Spoil()
    {
        fs::path path = folder + tree[Next() % (tree.size() / 2 - Kept) * 2];
        const std::size_t other = Next() % (tree.size() / 2) * 2;
        const int kind = Next() % 8;
        std::string text(Next() % 32, '\0');
        for (char& letter : text)
            letter = static_cast<char>(Next() % 207 + '0'); // no slash
        std::error_code ignored;
        if (fs::canonical(path.parent_path(), ignored) != path.parent_path())
            return;
        if (kind < 2)
            path.replace_filename(text + "1");
        fs::remove_all(path, ignored);
        const std::string whats[] = {tree[other + 1], text, "-", "->" + folder + tree[other]};
        if (kind < 7)
            Put(kind == 6 ? path / "x" : path, whats[kind % 4]);
        else
            mkfifo(path.c_str(), 0600);
    }

    int Open(const std::string&, const WantedDevice&, FileDescriptor& file) override
    {
        file = FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
        return std::max(Next() - 199, 0);
    }
    int OpenGeneric(const std::string& path, const std::string& device,
                    FileDescriptor& file) override
    {
        return Open(path, {device, {}}, file);
    }
    int Send(const CommandFile&, sg_io_hdr_t& head) override
    {
        if (Next() % 16 == 15)
            Spoil();
        head.status = Next() % 2 == 0 ? std::uint8_t{2} : Next();
        head.host_status = head.status % 8 == 7, head.driver_status = head.status % 8 == 6;
        head.resid = Next() / 128, head.sb_len_wr = Next();
        std::generate_n(head.sbp, head.mx_sb_len, [this] { return Next(); });
        if (Next() % 2 == 0) // with ATA registers, as far as it goes
            head.sbp[0] = 0x72, head.sbp[8] = 9, head.sbp[9] = 12;
        std::fill_n(static_cast<std::uint8_t*>(head.dxferp), head.dxfer_len, Next());
        return std::max(Next() - 199, 0);
    }
};

/// Checks the tree and asks all of its disks for all there is.
void AskAll(LinuxMachine& machine)
{
    const auto tree = machine.ReadDeviceTree();
    std::set<std::string> ids;
    std::size_t reached = 1;
    for (std::size_t at = 0; at < tree->size(); ++at)
    {
        const DeviceNode& node = (*tree)[at];
        ids.insert(node.id + "<" + (at == 0 ? "" : tree->at(node.parent).service));
        for (auto child = node.firstChild; child != node.None; child = (*tree)[child].nextSibling)
            Require(child > at && tree->at(child).parent == at && ++reached != 0, "a tree");
        for (const std::string& path : node.diskInterfaces)
        {
            std::unique_ptr<Device> device;
            std::uint64_t bytes = 0;
            DWORD number = 0;
            machine.OpenDevice(path, true, device);
            Require(machine.OpenDevice(path, false, device) == ERROR_SUCCESS, "a disk of the tree");
            device->DiskNumber(number), device->Length(bytes);
            Sector page = {'?', 1, 2}, before = page;
            for (const auto question : {&Device::Identify, &Device::SmartData})
                if ((device.get()->*question)(page) == ERROR_SUCCESS)
                    before = page;
            Require(page == before, "a page that fails stays as it was");
            std::vector<ZKTX::CSystemPartition> partitions;
            machine.Partitions(number, partitions);
        }
    }
    machine.MissingRight();
    Require(reached == tree->size() && ids.size() == reached, "each node is reached once");
    Require(ids.contains("SCSI\\DISK\\sdz<storahci"), "a disk without faults is there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto computer = std::make_shared<Computer>();
    const std::string& folder = computer->folder;
    computer->data = data, computer->left = size;
    fs::remove_all(folder);
    const auto text = boost::replace_all_copy(std::string(Tree), "@", "sys/devices/pci0/00:1f.2");
    boost::split(computer->tree, text, boost::is_any_of(" \n"), boost::token_compress_on);
    for (std::size_t at = 0; at < computer->tree.size(); at += 2)
        computer->Put(folder + computer->tree[at], computer->tree[at + 1]);
    using Files = fs::directory_iterator;
    const auto before = std::distance(Files("/proc/self/fd"), {});
    auto machine = std::make_unique<LinuxMachine>(
        SystemFolders{folder + "sys", folder + "proc", folder + "dev"}, computer);
    for (int round = 1; round <= 2; ++round)
    {
        for (int faults = computer->Next() % 8; faults > 0; --faults)
            computer->Spoil();
        std::ofstream(folder + "sys/kernel/uevent_seqnum") << round;
        try
        {
            AskAll(*machine);
        }
        catch (const std::bad_alloc&)
        {
            // A call that ran short says nothing of the disks.
        }
    }
    Require(std::distance(Files("/proc/self/fd"), {}) <= before + 12, "few files stay open");
    machine.reset();
    Require(std::distance(Files("/proc/self/fd"), {}) == before, "no file stays open");
    return 0;
}
