#include "tests/platform/Support.h"

#include "platform/CallGate.h"
#include "platform/DiskAnswers.h"
#include "platform/Handles.h"
#include "platform/HostSystem.h"

#include <set>
#include <tuple>
#include <vector>

// Inside it: outside, Windows has functions of the same names.
namespace Platform
{

namespace
{

constexpr DWORD ReadWrite = GENERIC_READ | GENERIC_WRITE;

/// A machine of two disks on one node, in place for a test.
class WindowsApi : public testing::Test
{
  protected:
    WindowsApi()
    {
        SetCurrentMachine(MachineOf(
            MachineText("0, 1", R"({"number": 0, "bytes": 1024, "identify": {"model": "M"},
                       "smart": {"attributes": [{"id": 9}]}}, {"number": 1, "bytes": 512})")));
        CM_Locate_DevNodeA(&m_Root, nullptr, 0);
        CM_Get_Child(&m_Controller, m_Root, 0);
        CM_Get_Child(&m_Disk, m_Controller, 0);
    }
    ~WindowsApi() override
    {
        SetCallGate({});
        SetCurrentMachine(nullptr);
        EXPECT_EQ(OpenHandleCount(), 0u);
    }

    static HDEVINFO DiskInterfaces(const char* device, DWORD flags = 18)
    {
        return Platform::SetupDiGetClassDevsA(&DiskInterfaceClass, device, nullptr, flags);
    }

    static DWORD Error(BOOL done) { return done ? ERROR_SUCCESS : GetLastError(); }

    /// Errors of all calls that take a handle; the last ones close it.
    static std::vector<DWORD> UseAndClose(HANDLE handle)
    {
        STORAGE_DEVICE_NUMBER number = {};
        SP_DEVICE_INTERFACE_DATA data = {sizeof(data), DiskInterfaceClass, 0, 1};
        return {
            Error(Platform::SetupDiEnumDeviceInterfaces(handle, nullptr, &DiskInterfaceClass, 0,
                                                        &data)),
            Error(Platform::SetupDiGetDeviceInterfaceDetailA(handle, &data, nullptr, 0, nullptr,
                                                             nullptr)),
            NumberError(handle, number),
            Error(CloseHandle(handle)),
            Error(SetupDiDestroyDeviceInfoList(handle)),
        };
    }

    DEVINST m_Root = 0;
    DEVINST m_Controller = 0;
    DEVINST m_Disk = 0;
};

std::vector<std::uint8_t> DriveCommand(BYTE command, BYTE features = 0, BYTE high = 0xC2)
{
    std::vector<std::uint8_t> block(545);
    block[10] = command;
    block[4] = features;
    block[7] = 0x4F;
    block[8] = high;
    return block;
}

} // namespace

TEST_F(WindowsApi, ATreeIsWalkedByItsNodes)
{
    DEVINST node = 0;
    EXPECT_EQ(CM_Get_Parent(&node, m_Disk, 0), CR_SUCCESS);
    EXPECT_EQ(node, m_Controller);
    EXPECT_EQ(CM_Get_Parent(&node, m_Root, 0), CR_NO_SUCH_DEVNODE);
    EXPECT_EQ(CM_Get_Sibling(&node, m_Disk, 0), CR_NO_SUCH_DEVNODE);
    EXPECT_EQ(CM_Get_Child(&node, m_Disk, 0), CR_NO_SUCH_DEVNODE);
    EXPECT_EQ(CM_Get_Child(&node, 0, 0), CR_INVALID_DEVNODE);
    char id[] = "scsi\\disk";
    EXPECT_EQ(CM_Locate_DevNodeA(&node, id, 0), CR_SUCCESS);
    EXPECT_EQ(node, m_Disk) << "an unchanged tree keeps its numbers";
    id[0] = 'x';
    EXPECT_EQ(CM_Locate_DevNodeA(&node, id, 0), CR_NO_SUCH_DEVNODE);

    std::string message;
    ASSERT_TRUE(dynamic_cast<SimulatedMachine&>(CurrentMachine())
                    .Replace(R"({"version": 1, "devices": [{"id": "A"}]})", message));
    EXPECT_EQ(CM_Get_Child(&node, m_Controller, 0), CR_SUCCESS) << "no walk yet";
    EXPECT_EQ(CM_Locate_DevNodeA(&m_Root, nullptr, 0), CR_SUCCESS);
    EXPECT_GT(m_Root, m_Disk);
    EXPECT_EQ(CM_Get_Child(&node, m_Controller, 0), CR_SUCCESS) << "a walk goes on in its tree";
    EXPECT_EQ(CM_Get_Child(&node, m_Root + 2, 0), CR_NO_SUCH_DEVNODE) << "beyond the last";
}

TEST_F(WindowsApi, NodeTextsNeedTheirRoom)
{
    char buffer[16] = "";
    EXPECT_EQ(CM_Get_Device_IDA(m_Controller, buffer, 9, 0), CR_SUCCESS);
    EXPECT_STREQ(buffer, "PCI\\CTRL");
    EXPECT_EQ(CM_Get_Device_IDA(m_Controller, buffer, 8, 0), CR_BUFFER_SMALL);

    const std::tuple<DEVINST, ULONG, ULONG, CONFIGRET, ULONG> table[] = {
        {m_Controller, CM_DRP_SERVICE, 9, CR_SUCCESS, 9},
        {m_Controller, CM_DRP_SERVICE, 8, CR_BUFFER_SMALL, 9},
        {m_Controller, CM_DRP_SERVICE, 0, CR_BUFFER_SMALL, 9},
        {m_Root, CM_DRP_SERVICE, 9, CR_NO_SUCH_VALUE, 0},
        {m_Controller, 99, 9, CR_INVALID_PROPERTY, 9}};
    for (const auto& [node, property, room, result, lengthAfter] : table)
    {
        ULONG length = room;
        char* text = room == 0 ? nullptr : buffer;
        EXPECT_EQ(CM_Get_DevNode_Registry_PropertyA(node, property, nullptr, text, &length, 0),
                  result);
        EXPECT_EQ(length, lengthAfter);
    }
    EXPECT_STREQ(buffer, "StorAHCI");
}

TEST_F(WindowsApi, InterfacesOfOneDeviceAreListed)
{
    const DeviceInfoList list(DiskInterfaces("scsi\\DISK"));
    SP_DEVICE_INTERFACE_DATA data = {};
    const auto enumerate = [&](const DeviceInfoList& of, const GUID& kind, DWORD index) {
        return Error(Platform::SetupDiEnumDeviceInterfaces(of.Get(), nullptr, &kind, index, &data));
    };
    EXPECT_EQ(enumerate(list, DiskInterfaceClass, 0), ERROR_INVALID_USER_BUFFER);
    data.cbSize = sizeof(data);
    EXPECT_EQ(enumerate(list, DiskInterfaceClass, 2), ERROR_NO_MORE_ITEMS);
    ASSERT_EQ(enumerate(list, DiskInterfaceClass, 1), ERROR_SUCCESS);

    DWORD needed = 0;
    EXPECT_FALSE(Platform::SetupDiGetDeviceInterfaceDetailA(list.Get(), &data, nullptr, 0, &needed,
                                                            nullptr));
    std::vector<std::uint8_t> block(needed);
    auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A*>(block.data());
    const std::tuple<DWORD, DWORD, DWORD> table[] = {{needed, 5, ERROR_INVALID_USER_BUFFER},
                                                     {needed - 1, 8, ERROR_INSUFFICIENT_BUFFER},
                                                     {needed, 8, ERROR_SUCCESS}};
    for (const auto& [room, size, error] : table)
    {
        detail->cbSize = size;
        EXPECT_EQ(error, Error(Platform::SetupDiGetDeviceInterfaceDetailA(list.Get(), &data, detail,
                                                                          room, nullptr, nullptr)));
    }
    const char* path = reinterpret_cast<const char*>(block.data()) + 4;
    const DeviceHandle disk(CreateFileA(path, 0, 3, nullptr, OPEN_EXISTING, 128, nullptr));
    STORAGE_DEVICE_NUMBER number = {};
    ASSERT_EQ(NumberError(disk.Get(), number), ERROR_SUCCESS);
    EXPECT_EQ(number.DeviceNumber, 1u);

    // Asked for one device alone, a list of all has none of another's.
    const DeviceInfoList all(DiskInterfaces(nullptr));
    const std::pair<DEVINST, DWORD> devices[] = {{m_Disk, ERROR_SUCCESS},
                                                 {m_Controller, ERROR_NO_MORE_ITEMS}};
    for (const auto& [node, error] : devices)
    {
        SP_DEVINFO_DATA device = {sizeof(device), {}, node, 0};
        EXPECT_EQ(Error(Platform::SetupDiEnumDeviceInterfaces(all.Get(), &device,
                                                              &DiskInterfaceClass, 1, &data)),
                  error);
    }

    const GUID other = {1, 2, 3, {4}};
    const DeviceInfoList empty(Platform::SetupDiGetClassDevsA(&other, "SCSI\\DISK", nullptr, 18));
    EXPECT_EQ(enumerate(empty, other, 0), ERROR_NO_MORE_ITEMS);
}

TEST_F(WindowsApi, WrongHandlesAreRefused)
{
    const HANDLE device = OpenDisk(ReadWrite);
    const HDEVINFO list = DiskInterfaces(nullptr);
    EXPECT_EQ(OpenHandleCount(), 2u);
    EXPECT_FALSE(CloseHandle(list)) << "a list is no device";
    EXPECT_TRUE(CloseHandle(device));
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(list));
    for (const HANDLE handle : {device, list, INVALID_HANDLE_VALUE, HANDLE(), HANDLE(&list)})
        EXPECT_EQ(UseAndClose(handle), std::vector<DWORD>(5, ERROR_INVALID_HANDLE));
    EXPECT_EQ(OpenDisk(ReadWrite, 2), INVALID_HANDLE_VALUE) << "CREATE_ALWAYS";
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(WindowsApi, ControlsDemandAccessAndRoom)
{
    const std::tuple<DWORD, DWORD, DWORD, DWORD, DWORD> table[] = {
        {IOCTL_STORAGE_GET_DEVICE_NUMBER, 0, 0, 12, ERROR_SUCCESS},
        {IOCTL_STORAGE_GET_DEVICE_NUMBER, 0, 0, 11, ERROR_INSUFFICIENT_BUFFER},
        {IOCTL_DISK_GET_LENGTH_INFO, 0, 0, 8, ERROR_ACCESS_DENIED},
        {IOCTL_DISK_GET_LENGTH_INFO, GENERIC_READ, 0, 8, ERROR_SUCCESS},
        {IOCTL_DISK_GET_LENGTH_INFO, GENERIC_READ, 0, 7, ERROR_INSUFFICIENT_BUFFER},
        {SMART_GET_VERSION, ReadWrite, 0, 24, ERROR_SUCCESS},
        {SMART_RCV_DRIVE_DATA, GENERIC_READ, 33, 545, ERROR_ACCESS_DENIED},
        {SMART_RCV_DRIVE_DATA, GENERIC_WRITE, 33, 545, ERROR_ACCESS_DENIED},
        {SMART_RCV_DRIVE_DATA, ReadWrite, 33, 545, ERROR_SUCCESS},
        {SMART_RCV_DRIVE_DATA, ReadWrite, 32, 528, ERROR_SUCCESS},
        {SMART_RCV_DRIVE_DATA, ReadWrite, 31, 545, ERROR_INVALID_PARAMETER},
        {SMART_RCV_DRIVE_DATA, ReadWrite, 33, 527, ERROR_INSUFFICIENT_BUFFER},
        {0x0007C084, ReadWrite, 33, 545, ERROR_INVALID_FUNCTION}, // SMART_SEND_DRIVE_COMMAND
    };
    for (const auto& [code, access, inputSize, outputSize, expected] : table)
    {
        const DeviceHandle device(OpenDisk(access));
        // Exactly as large as told, so that a sanitizer sees a byte too many.
        std::vector<std::uint8_t> input = DriveCommand(0xEC);
        input.resize(inputSize);
        std::vector<std::uint8_t> output(outputSize);
        DWORD returned = 9;
        EXPECT_EQ(Error(DeviceIoControl(device.Get(), code, input.data(), inputSize, output.data(),
                                        outputSize, &returned, nullptr)),
                  expected);
        const DWORD whole = code == SMART_RCV_DRIVE_DATA ? 528 : outputSize;
        EXPECT_EQ(returned, expected == ERROR_SUCCESS ? whole : 0) << std::hex << code;
    }
}

TEST_F(WindowsApi, OnlyReadingDriveCommandsPassAndTheReplyMayOverlayThem)
{
    const DeviceHandle device(OpenDisk(ReadWrite));
    const auto send = [&](std::vector<std::uint8_t>& block)
    {
        DWORD returned = 0;
        return Error(DeviceIoControl(device.Get(), SMART_RCV_DRIVE_DATA, block.data(), 33,
                                     block.data(), 545, &returned, nullptr));
    };
    for (unsigned code = 0; code < 0x10000; ++code)
    {
        auto block = DriveCommand(static_cast<BYTE>(code >> 8), static_cast<BYTE>(code));
        const bool passes = code >> 8 == 0xEC || code == 0xB0D0;
        EXPECT_EQ(send(block), passes ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER) << code;
    }
    auto block = DriveCommand(0xB0, 0xD0, 0);
    EXPECT_EQ(send(block), ERROR_INVALID_PARAMETER) << "no SMART signature";

    block = DriveCommand(0xEC, 0, 0);
    ASSERT_EQ(send(block), ERROR_SUCCESS);
    EXPECT_EQ(std::string(block.begin(), block.begin() + 17),
              std::string("\0\2\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x40", 17));
    EXPECT_EQ(block[16 + 55], 'M');
    EXPECT_EQ(block[528], 0u) << "nothing is written behind the reply";
    block = DriveCommand(0xB0, 0xD0);
    ASSERT_EQ(send(block), ERROR_SUCCESS);
    EXPECT_EQ(block[16 + 2], 9u);
}

TEST_F(WindowsApi, AnswersAreThoseOfTheLastWalk)
{
    const auto answers = []
    {
        std::string text;
        ForEachDiskAnswer(
            [&](const DiskAnswer& answer)
            {
                text += (answer.number ? std::to_string(*answer.number) : answer.interfacePath) +
                        (answer.failed ? '!' : ' ');
            });
        return text;
    };
    DEVINST node = 0;
    char id[] = "SCSI\\DISK";
    NoteDiskAnswer(1, DiskQuestion::Identify, ERROR_IO_DEVICE);
    NoteDiskAnswer(0, DiskQuestion::Identify, ERROR_IO_DEVICE);
    NoteSilentInterface("path", std::nullopt, DiskQuestion::Open, ERROR_NOT_READY);
    EXPECT_EQ(CM_Locate_DevNodeA(&node, id, 0), CR_SUCCESS);
    EXPECT_EQ(answers(), "path!0!1!") << "one node alone is no walk";
    EXPECT_TRUE(CloseHandle(OpenDisk(ReadWrite)));
    EXPECT_EQ(answers(), "path!0 1!") << "it is asked anew";

    EXPECT_EQ(CM_Locate_DevNodeA(&node, nullptr, 0), CR_SUCCESS);
    EXPECT_EQ(answers(), "");
    NoteDiskLength(1, 512);
    EXPECT_EQ(answers(), "1 ") << "what failed in an older walk";
    NoteSilentInterface("path", std::nullopt, DiskQuestion::Open, ERROR_NOT_READY);
    ForgetDiskAnswers();
    EXPECT_EQ(answers(), "");
}

TEST(Paths, TheFolderOfAFileEndsWithOneSeparator)
{
    const std::pair<const char*, const char*> table[] = {
        {"", ""}, {"a", ""}, {"/", "/"}, {"/a", "/"}, {"a/b", "a/"}, {"a//b", "a/"}, {"///a", "/"}};
    for (const auto& [path, folder] : table)
        EXPECT_EQ(FolderOf(path), folder) << path;
}

TEST_F(WindowsApi, ARefusedCallFailsButStillReleases)
{
    const HANDLE device = OpenDisk(ReadWrite);
    const HDEVINFO list = DiskInterfaces(nullptr);
    std::set<std::string> asked;
    SetCallGate(
        [&](const char* name)
        {
            asked.insert(name);
            return false;
        });
    DEVINST node = 0;
    EXPECT_EQ(CM_Locate_DevNodeA(&node, nullptr, 0), CR_FAILURE);
    for (const auto relative : {CM_Get_Child, CM_Get_Sibling, CM_Get_Parent})
        EXPECT_EQ(relative(&node, m_Controller, 0), CR_FAILURE);
    EXPECT_EQ(CM_Get_Device_IDA(m_Controller, nullptr, 0, 0), CR_FAILURE);
    EXPECT_EQ(CM_Get_DevNode_Registry_PropertyA(m_Root, 5, nullptr, nullptr, nullptr, 0),
              CR_FAILURE);
    EXPECT_EQ(DiskInterfaces(nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(OpenDisk(ReadWrite), INVALID_HANDLE_VALUE);
    for (const HANDLE handle : {device, list})
        EXPECT_EQ(UseAndClose(handle), std::vector<DWORD>(5, ERROR_GEN_FAILURE));
    EXPECT_EQ(node, 0u);
    EXPECT_EQ(OpenHandleCount(), 0u);
    EXPECT_EQ(asked.size(), 13u) << "each under its own name";
    SetCallGate([](const char*) -> bool { throw std::bad_alloc(); });
    EXPECT_EQ(OpenDisk(ReadWrite), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
}

} // namespace Platform
