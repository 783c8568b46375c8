// A folder of files that goes with its test.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <stdlib.h>

class TestFolder
{
  public:
    TestFolder() { EXPECT_NE(mkdtemp(m_Path.data()), nullptr); }
    ~TestFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    const std::string& Path() const { return m_Path; }
    std::string File(const std::string& name) const
    {
        return (std::filesystem::path(m_Path) / name).string();
    }

    /// @return the file's path
    std::string Write(const std::string& name, const std::string& content) const
    {
        std::ofstream(File(name), std::ios::binary) << content;
        return File(name);
    }
    std::string Read(const std::string& name) const
    {
        std::ifstream in(File(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

  private:
    std::string m_Path = (std::filesystem::temp_directory_path() / "tarnis-test-XXXXXX").string();
};
