// The calls that go to a disk, and what stands on one: in files made for it.
#include "platform/linux/DiskPort.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <linux/bsg.h>

using namespace Platform;

namespace
{

/// Stands in for the kernel while it is set. Returns an error number.
std::function<int(unsigned long request, void* argument)> kernel;

} // namespace

// What an executable exports comes before what its libraries have.
extern "C" [[gnu::visibility("default")]] int ioctl(int descriptor, unsigned long request,
                                                    ...) noexcept
{
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    if (!kernel)
        return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
    errno = kernel(request, argument);
    return errno == 0 ? 0 : -1;
}

namespace
{

struct DiskPortCalls : testing::Test
{
    ~DiskPortCalls() override { kernel = nullptr; }

    DiskPort port;
    const TestFolder folder;
};

/// Bytes put into a file of zeros.
using Pieces = std::vector<std::pair<std::size_t, std::string>>;

int Image(const TestFolder& folder, std::size_t size, const Pieces& pieces)
{
    std::string bytes(size, '\0');
    for (const auto& [at, piece] : pieces)
        bytes.replace(at, piece.size(), piece);
    return open(folder.Write("image", bytes).c_str(), O_RDONLY | O_CLOEXEC);
}

} // namespace

TEST_F(DiskPortCalls, AFileIsTheDiskWhoseNumberOrSequenceItHas)
{
    const std::string path = folder.Write("sda", "");
    kernel = [](unsigned long, void* argument)
    {
        *static_cast<std::uint64_t*>(argument) = 7;
        return 0;
    };
    const std::pair<const char*, int> cases[] = {{"7", 0}, {"8", ENODEV}, {"", ENODEV}};
    for (const auto& [sequence, expected] : cases)
    {
        FileDescriptor file;
        EXPECT_EQ(port.Open(path, {"8:0", sequence}, file), expected) << sequence;
        EXPECT_EQ(file.IsOpen(), expected == 0);
    }
    FileDescriptor file;
    EXPECT_EQ(port.Open(folder.File("gone"), {"8:0", "7"}, file), ENOENT);
    EXPECT_EQ(port.OpenGeneric("/dev/null", "1:3", file), 0);
    EXPECT_EQ(port.OpenGeneric("/dev/null", "1:5", file), ENODEV);
    EXPECT_EQ(port.OpenGeneric(path, "0:0", file), ENODEV) << "a file";
}

TEST_F(DiskPortCalls, AGenericDeviceIsAskedAndAnswersLikeADeviceFile)
{
    unsigned char command[16] = {0x85, 8};
    unsigned char sense[32] = {};
    unsigned char page[512] = {};
    sg_io_hdr_t asked = {};
    asked.interface_id = 'S';
    asked.dxfer_direction = SG_DXFER_FROM_DEV;
    asked.cmdp = command;
    asked.cmd_len = sizeof command;
    asked.sbp = sense;
    asked.mx_sb_len = sizeof sense;
    asked.dxferp = page;
    asked.dxfer_len = sizeof page;
    asked.timeout = 10000;
    kernel = [&](unsigned long request, void* argument)
    {
        EXPECT_EQ(request, static_cast<unsigned long>(SG_IO));
        auto& form = *static_cast<sg_io_v4*>(argument);
        EXPECT_EQ(std::tuple(form.guard, form.protocol, form.subprotocol, form.request_len,
                             form.max_response_len, form.din_xfer_len, form.dout_xfer_len,
                             form.timeout),
                  std::tuple('Q', 0u, 0u, 16u, 32u, 512u, 0u, 10000u));
        EXPECT_EQ(reinterpret_cast<void*>(form.request), command);
        reinterpret_cast<unsigned char*>(form.response)[0] = 0x72;
        reinterpret_cast<unsigned char*>(form.din_xferp)[0] = 'p';
        form.device_status = 2;
        form.transport_status = 3;
        form.driver_status = 8;
        form.response_len = 22;
        form.din_resid = 1;
        return 0;
    };
    ASSERT_EQ(port.Send({0, true}, asked), 0);
    EXPECT_EQ(std::tuple(asked.status, asked.host_status, asked.driver_status, asked.sb_len_wr,
                         asked.resid, sense[0], page[0]),
              std::tuple(2, 3, 8, 22, 1, 0x72, 'p'));

    kernel = [&](unsigned long request, void* argument)
    {
        EXPECT_EQ(argument, &asked) << "as it is";
        return request == SG_IO ? EPERM : 0;
    };
    EXPECT_EQ(port.Send({0, false}, asked), EPERM);
    kernel = [](unsigned long, void*) { return ENODEV; };
    EXPECT_EQ(port.Send({0, true}, asked), ENODEV);
}

TEST(DiskPort, TellsWhatStandsOnADisk)
{
    DiskPort port;
    const TestFolder folder;
    const FileDescriptor old(
        Image(folder, 1 << 20, // two of four entries: type, start and length in sectors
              {{440, "\x78\x56\x34\x12"},
               {446 + 4, std::string("\x83\0\0\0\x08\0\0\0\x10\0\0\0", 12)},
               {446 + 32 + 4, std::string("\x07\0\0\0\x40\0\0\0\x10\0\0\0", 12)},
               {510, "\x55\xAA"}}));
    const auto table = port.ReadTable(old.Get());
    ASSERT_TRUE(table && table->isThere);
    std::string told;
    for (const TableEntry& entry : table->entries)
        told += std::to_string(entry.index) + '@' + std::to_string(entry.start) + ' ' + entry.type +
                ' ' + entry.uuid + ';';
    EXPECT_EQ(told, "1@4096 0x83 12345678-01;3@32768 0x7 12345678-03;");

    const Pieces swap = {
        {1024, std::string("\1\0\0\0\xff\0\0\0", 8)}, {1024 + 28, "spare"}, {4086, "SWAPSPACE2"}};
    Pieces several = swap;
    several.insert(several.end(), {{0, "hsqs"}, {28, std::string("\4\0\0\0", 4)}});
    const std::tuple<Pieces, bool, std::string> contents[] = {
        {{}, false, ""}, {swap, true, "swap spare"}, {several, true, " "}};
    for (const auto& [pieces, isThere, text] : contents)
    {
        const FileDescriptor file(Image(folder, 4 << 20, pieces));
        const auto content = port.ReadContent(file.Get());
        ASSERT_TRUE(content);
        EXPECT_EQ(content->isThere, isThere) << text;
        EXPECT_EQ(content->isThere ? content->fileSystem + ' ' + content->label : "", text);
        EXPECT_FALSE(port.ReadTable(file.Get())->isThere);
    }
    EXPECT_FALSE(port.ReadContent(-1));
    EXPECT_FALSE(port.ReadTable(-1));
}
