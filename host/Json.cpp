#include "host/Json.h"

namespace
{

using Host::Json;

// In ASCII, because the output may well end on a terminal: a drive's text then cannot hold a
// control character in any disguise.
std::string Dump(const Json& json, int indent = 2)
{
    return json.dump(indent, ' ', true, Json::error_handler_t::replace);
}

} // namespace

namespace Host
{

std::string JsonText(const Json& json)
{
    return Dump(json) + "\n";
}

std::string JsonLine(const Json& json)
{
    constexpr int onOneLine = -1;
    return Dump(json, onOneLine);
}

} // namespace Host
