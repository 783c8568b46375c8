// JSON values in memory, for what is small.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace Host
{

using Json = nlohmann::ordered_json;

/// Indented, in ASCII, with a line feed at the end. What is not UTF-8 becomes U+FFFD.
std::string JsonText(const Json& json);
/// The same on one line, without its end.
std::string JsonLine(const Json& json);

} // namespace Host
