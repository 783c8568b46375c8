// A change among the drives for people and for programs.
#pragma once

#include "host/Changes.h"
#include "host/JsonWriter.h"

#include <cstdint>
#include <string>

namespace Host
{

/// One line without its end: when, how bad, which drive, what it was and what it is, and why.
std::string ChangeLine(const Change& change);

/// "was in use, is failing: endurance used 99 %". Texts of a drive are not escaped.
/// @param from  left out when it is empty or the same as `to`
std::string StatesText(const std::string& from, const std::string& to, const std::string& readings);

/// Its members but for the time, without the object around them.
void WriteChangeMembers(JsonWriter& json, const Change& change);

/// "gone", "readingsLost": the kind as programs read it.
std::string KindName(ChangeKind kind);

/// "2026-11-23T15:04:05.120Z"
std::string IsoTime(std::uint64_t milliseconds);

/// "2026-11-23 16:04:05 +0100", in local time.
std::string LocalTime(std::uint64_t milliseconds);

} // namespace Host
