// What the disks answered last, kept as it passes by: a host can explain a drive without asking it
// once more. Safe from any thread.
#pragma once

#include "contracts/Export.h"
#include "platform/Machine.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace Platform
{

/// What is asked of a disk, in the order in which a plug-in asks.
enum class DiskQuestion
{
    Open,
    DiskNumber,
    SmartVersion,
    Identify,
    SmartData,
    Length,
};

struct DiskAnswer
{
    /// Nothing for a disk that did not tell it and whose machine does not know it either.
    std::optional<DWORD> number;
    std::string interfacePath; ///< of a disk without a number

    /// What failed in the last walk, without which nothing is known of the disk.
    std::optional<DiskQuestion> failed;
    DWORD error = ERROR_SUCCESS;      ///< of that question
    DWORD smartError = ERROR_SUCCESS; ///< of the last SMART READ DATA

    std::optional<Sector> smartPage;                     ///< the last one, of any walk
    std::chrono::steady_clock::time_point smartPageTime; ///< when it was read
    std::optional<std::uint64_t> bytes;                  ///< the last length
};

/// A walk of the device tree begins. Disks that are not asked in it are not there any more.
PLATFORM_API void BeginDiskWalk();

/// Notes that a disk could not be asked for its number at one of its interfaces.
/// @param number  as the machine knows it all the same
PLATFORM_API void NoteSilentInterface(const std::string& path, std::optional<DWORD> number,
                                      DiskQuestion question, DWORD error);

/// Notes how a disk answered that was opened by its number, for reading and writing.
PLATFORM_API void NoteDiskAnswer(DWORD number, DiskQuestion question, DWORD error);
PLATFORM_API void NoteSmartPage(DWORD number, const Sector& page);
PLATFORM_API void NoteDiskLength(DWORD number, std::uint64_t bytes);

/// Calls for each disk of the last walk, by number; those without one come first. They are complete
/// when no plug-in walks meanwhile. What is called must not note an answer.
PLATFORM_API void ForEachDiskAnswer(const std::function<void(const DiskAnswer&)>& call);

/// Forgets them all, for another machine.
PLATFORM_API void ForgetDiskAnswers();

} // namespace Platform
