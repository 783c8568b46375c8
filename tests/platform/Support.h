// Files of a test, and machines made of text.
#pragma once

#include "platform/WindowsApi.h"
#include "platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <stdlib.h>

/// A folder that goes with the test.
class TestFolder
{
  public:
    TestFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "platformXXXXXX").string();
        m_Path = mkdtemp(name.data());
    }
    ~TestFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string Path() const { return m_Path; }
    std::string File(const std::string& name) const { return m_Path + "/" + name; }

    std::string Write(const std::string& name, const std::string& content) const
    {
        std::ofstream(File(name), std::ios::binary) << content;
        return File(name);
    }

  private:
    std::string m_Path;
};

inline std::shared_ptr<Platform::SimulatedMachine> MachineOf(const std::string& text,
                                                             const std::string& folder = ".")
{
    std::string message;
    auto machine = Platform::SimulatedMachine::FromText(text, folder, message);
    EXPECT_TRUE(machine) << message;
    return machine;
}

inline std::shared_ptr<Platform::SimulatedMachine> MachineOfFile(const std::string& path)
{
    std::string message;
    auto machine = Platform::SimulatedMachine::FromFile(path, message);
    EXPECT_TRUE(machine) << message;
    return machine;
}

/// A handle of disk 0 of the current machine.
inline HANDLE OpenDisk(DWORD access, DWORD disposition = OPEN_EXISTING)
{
    return Platform::CreateFileA("\\\\.\\PhysicalDrive0", access, FILE_SHARE_READ, nullptr,
                                 disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
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
