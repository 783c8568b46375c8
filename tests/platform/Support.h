// Machines made of text, and their disks.
#pragma once

#include "platform/WindowsApi.h"
#include "platform/simulated/SimulatedMachine.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

inline std::shared_ptr<Platform::SimulatedMachine> MachineOf(const std::string& text)
{
    std::string message;
    auto machine = Platform::SimulatedMachine::FromText(text, ".", message);
    EXPECT_TRUE(machine) << message;
    return machine;
}

/// A handle of disk 0 of the current machine.
inline HANDLE OpenDisk(DWORD access, DWORD disposition = OPEN_EXISTING)
{
    return Platform::CreateFileA("\\\\.\\PhysicalDrive0", access, FILE_SHARE_READ, nullptr,
                                 disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// Error of the control that asks for a disk's number.
inline DWORD NumberError(HANDLE device, STORAGE_DEVICE_NUMBER& number)
{
    DWORD returned = 0;
    const bool done = Platform::DeviceIoControl(device, IOCTL_STORAGE_GET_DEVICE_NUMBER, nullptr, 0,
                                                &number, sizeof(number), &returned, nullptr);
    EXPECT_EQ(returned, done ? sizeof(number) : 0);
    return done ? ERROR_SUCCESS : Platform::GetLastError();
}

inline std::unique_ptr<Platform::Device> Open(Platform::Machine& machine, unsigned disk)
{
    std::unique_ptr<Platform::Device> device;
    const DWORD error =
        machine.OpenDevice("\\\\.\\PhysicalDrive" + std::to_string(disk), true, device);
    EXPECT_EQ(error, ERROR_SUCCESS) << "disk " << disk;
    return device;
}

/// A machine with one controller, a disk node with these disks, and these entries of "disks".
/// Remarks stand in it wherever they may.
inline std::string MachineText(const std::string& numbers, const std::string& disks)
{
    return R"({"version": 1, "modules": {"storahci": "10.0", "_a": 7}, "comment": {"x": [1, {}], "x": {"_": [[]]}}, "devices": [
        {"id": "PCI\\CTRL", "_why": null, "service": "StorAHCI", "children": [
            {"id": "SCSI\\DISK", "service": "disk", "disks": [)" +
           numbers + R"(]}]}], "disks": [)" + disks + "]}";
}
