// Which drive is in trouble, which cannot be judged, and what its readings say about it.
#pragma once

#include "host/Drive.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Host
{

/// Of an object by its status.
enum class Health
{
    Good,
    Warning,
    Failed,
};

/// An object without a status is good. A status that is not known to be good is a warning: better a
/// look too many.
Health HealthOf(const PI::CObject& object);

/// "failing", "in use", "free": what a status means, in plain words; empty for one that no drive
/// has.
std::string StatusWords(int status);

/// Degrees Celsius from which on a drive is too hot.
inline constexpr float hotDegrees = 60;

/// The thresholds of CustomOpts.ini.
struct Limits
{
    std::uint32_t used = 95;    ///< percent of the endurance, a warning above it
    std::uint32_t reserve = 10; ///< percent, a warning below it
};

/// What the settings put in effect.
Limits LimitsInEffect();

enum class Standing
{
    Good,
    NotJudged, ///< no warning would come from it
    Warning,   ///< worth a look soon: a threshold is passed, or the rated writes
    Trouble,
};

/// What state the drive is in, in plain words: "in use", "failing".
std::string StateWords(const Drive& drive);

/// Names of what a reason rests on. They stay the same while the numbers in its words change.
namespace Cause
{
inline constexpr const char* reserve = "reserve";
inline constexpr const char* endurance = "endurance";
inline constexpr const char* endOfLife = "endOfLife";
inline constexpr const char* status = "status"; ///< nothing tells why
inline constexpr const char* silence = "silence";
inline constexpr const char* wearThreshold = "wearThreshold"; ///< of CustomOpts.ini
inline constexpr const char* reserveThreshold = "reserveThreshold";
inline constexpr const char* ratedWrites = "ratedWrites";
inline constexpr const char* noReading = "noReading";
} // namespace Cause

struct Judgement
{
    Standing standing = Standing::Good;
    std::vector<std::string> reasons; ///< why it is not good
    std::vector<std::string> causes;  ///< of each reason
    std::vector<std::string> remarks; ///< what else is worth a look
};

/// What is said of drives that share a SMART page.
/// @param other  by whose page a drive may be judged
std::string SharedPageRemark(const std::string& other);

Judgement JudgementOf(const Drive& drive, const Limits& limits);

/// What its readings say of its health, whatever it is: "endurance used 3 % (attribute 233)".
std::vector<std::string> HealthReadings(const Drive& drive);

} // namespace Host
