// Objects and properties as JSON, for programs. The member names are a promise to them: members may
// be added, none is renamed.
#pragma once

#include "contracts/zelPlug.h"
#include "host/Topology.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Host
{

using Json = nlohmann::ordered_json;

Json PropertyJson(const PI::CProperty& property);
Json TopologyJson(const Objects& objects);

/// Indented, in ASCII, with a line feed at the end. What is not UTF-8 becomes U+FFFD.
std::string JsonText(const Json& json);

} // namespace Host
