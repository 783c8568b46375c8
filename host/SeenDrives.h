// The drives that earlier checks saw.
#pragma once

#include "host/Drive.h"
#include "host/ErrorCounts.h"
#include "host/Identity.h"

#include <string>
#include <vector>

namespace Host
{

struct SeenDrive
{
    Identity identity;
    ErrorCounts errors;
};

/// What is kept in tarnisctl-check.json. @throws Failure for a file that cannot be read or written
std::vector<SeenDrive> ReadSeenDrives();
void WriteSeenDrives(const std::vector<SeenDrive>& drives);

/// What became of them.
struct SeenChanges
{
    std::vector<SeenDrive> gone;
    std::vector<std::string> risen; ///< "disk3 (sdb): pending sectors (attribute 197) from 3 to 12"
    std::vector<SeenDrive> known;   ///< to be kept: those that are there and those that are gone
};

SeenChanges CompareWithSeen(const std::vector<Drive>& drives, const std::vector<SeenDrive>& seen);

/// Gives drives that do not answer the names by which an earlier check saw them.
void NameSilentDrives(std::vector<Drive>& drives, const std::vector<SeenDrive>& seen);

} // namespace Host
