// What a host does with the plug-in from its start to its release, while drives come, go and turn
// bad, and what it sees.
#pragma once

#include "tests/faults/Faults.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Faults
{

/// Lets calls of a kind fail during the scenario, in this process, which is of no use afterwards.
/// @param folder  an empty one, for the machine, the settings and the database
/// @return what the host saw: "disturbed" and, in a second life of an instance, "after"
nlohmann::json RunPluginScenario(const std::string& folder, const std::string& kind, long position,
                                 Times times);

/// What is wrong with it, a line a fault; empty when all is well.
/// @param right  of a scenario in which nothing failed
std::string Judge(const nlohmann::json& right, const nlohmann::json& seen, const std::string& kind);

} // namespace Faults
