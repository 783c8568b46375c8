// OBJECT and PROPERTY of the command line.
#pragma once

#include "host/PluginSession.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Host
{

/// OBJECT as it was typed: an id, or a word that the topology gives an id to.
struct ObjectQuery
{
    std::optional<std::uint64_t> id;
    std::string word;
};

/// @throws UsageFailure
ObjectQuery ParseObject(const std::string& text);

/// By number, or by name in any spelling: as in the vocabulary, or as show prints it. @throws
/// UsageFailure
PI::_PROPERTY_ID ParseProperty(const std::string& text);

/// The id that the query stands for in this plug-in. @throws Failure
std::uint64_t ResolveObject(const ObjectQuery& query, PluginSession& session);

} // namespace Host
