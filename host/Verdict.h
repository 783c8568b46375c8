// The answer to the first question: is any drive in trouble, and which ones can nobody tell of.
#pragma once

#include "host/Health.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Host
{

struct JudgedDrive
{
    const Drive* drive;
    Judgement judgement;
};

struct Verdict
{
    std::size_t count = 0; ///< drives, whatever their standing
    std::vector<JudgedDrive> troubled;
    std::vector<JudgedDrive> warned;
    std::vector<JudgedDrive> notJudged;
    std::vector<JudgedDrive> remarked; ///< those of any standing with a remark
    /// An object that is no drive and in trouble although no drive is; null: there is none.
    const PI::CObject* other = nullptr;
};

/// @param objects  those that the drives were made from
Verdict VerdictOf(const Objects& objects, const std::vector<Drive>& drives, const Limits& limits);

/// "2 of 13 drives in trouble", "No trouble: 12 drives judged, 1 not judged"
std::string VerdictWords(const Verdict& verdict);

/// Names of drives with their reasons: "disk7 (sda): spare sectors used up"; texts of a drive are
/// made safe.
std::string DriveReasons(const JudgedDrive& judged);

/// Names of a few drives, and how many more there are; made safe.
std::string DriveNames(const std::vector<JudgedDrive>& drives);

} // namespace Host
