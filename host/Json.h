// Objects and properties as JSON, for programs. The member names are a promise to them: members may
// be added, none is renamed.
#pragma once

#include "contracts/zelPlug.h"
#include "host/Topology.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <string_view>

namespace Host
{

using Json = nlohmann::ordered_json;

Json PropertyJson(const PI::CProperty& property);
/// Indented, in ASCII, with a line feed at the end. What is not UTF-8 becomes U+FFFD.
std::string JsonText(const Json& json);
/// The same on one line, without its end.
std::string JsonLine(const Json& json);

/// The whole picture, as JsonText would give it in one piece. Handed out in pieces, because a
/// machine of thousands of drives takes many times its text in values.
void WriteTopologyJson(const Objects& objects, const std::function<void(std::string_view)>& write);

} // namespace Host
