#include "host/Duration.h"

#include "host/Failure.h"

#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

namespace
{

/// @return 0 for none
std::uint32_t SecondsOf(std::string_view unit)
{
    constexpr std::pair<std::string_view, std::uint32_t> units[] = {
        {"", 1}, {"s", 1}, {"m", 60}, {"h", 3600}, {"d", 86400}};
    for (const auto& [name, seconds] : units)
        if (name == unit)
            return seconds;
    return 0;
}

} // namespace

namespace Host
{

std::uint32_t ParseSeconds(const std::string& option, const std::string& text)
{
    std::uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const std::uint64_t seconds =
        std::uint64_t{number} *
        SecondsOf(std::string_view(stop, static_cast<std::size_t>(end - stop)));
    if (error != std::errc() || seconds == 0 || seconds > std::numeric_limits<std::uint32_t>::max())
        throw UsageFailure(option + " '" + text +
                           "' is no time: give seconds, or a number with s, m, h or d, such as 90, "
                           "10m or 2h; from 1s to 49710d");
    return static_cast<std::uint32_t>(seconds);
}

} // namespace Host
