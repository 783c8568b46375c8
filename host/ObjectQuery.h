// OBJECT and PROPERTY of the command line.
#pragma once

#include "host/Snapshot.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Host
{

/// OBJECT as it was typed: an id, a word such as disk0, a name such as sda, or a serial number.
struct ObjectQuery
{
    std::optional<std::uint64_t> id;
    std::string word;
};

ObjectQuery ParseObject(const std::string& text);

/// By number, or by name in any spelling: as in the vocabulary, or as show prints it. @throws
/// UsageFailure
PI::_PROPERTY_ID ParseProperty(const std::string& text);

/// The id that the query stands for in this snapshot. One that is given as a number need not be
/// there. @throws Failure
std::uint64_t ResolveObject(const ObjectQuery& query, const Snapshot& snapshot,
                            PluginSession& session);

/// The same in a snapshot of this moment, which is taken where it is needed.
std::uint64_t ResolveObject(const ObjectQuery& query, PluginSession& session);

/// The drive that the query stands for, silent ones included, or null.
const Drive* FindDrive(const ObjectQuery& query, const std::vector<Drive>& drives);

} // namespace Host
