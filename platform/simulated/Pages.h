// The 512-byte pages of a disk: from files, or built from what the machine file tells.
#pragma once

#include "platform/simulated/JsonValue.h"
#include "platform/simulated/MachineFile.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Platform
{

/// Reads page files, each once.
class PageFiles
{
  public:
    PageFiles(std::string folder, std::vector<WatchedFile>& files);

    /// The page of the file that the value names.
    const Sector& Read(const JsonValue& name);

  private:
    std::string m_Folder;
    std::vector<WatchedFile>& m_Files;
    std::unordered_map<std::string, Sector> m_Pages;
};

/// What IDENTIFY DEVICE answers.
/// @param bytes  size of the disk, if told
Sector BuildIdentifyPage(const JsonValue& identify, std::optional<std::uint64_t> bytes);

/// What SMART READ DATA answers.
Sector BuildSmartPage(const JsonValue& smart);

} // namespace Platform
