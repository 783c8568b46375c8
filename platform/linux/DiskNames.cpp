#include "platform/linux/DiskNames.h"

#include <cstdint>
#include <limits>

namespace Platform
{

std::optional<DWORD> DiskNumberOfName(std::string_view name)
{
    constexpr std::string_view Prefix = "sd";
    constexpr std::int64_t Highest = std::numeric_limits<std::int32_t>::max();
    if (!name.starts_with(Prefix) || name.size() == Prefix.size())
        return std::nullopt;
    // Digits from a to z without a zero, so that sdaa follows sdz.
    std::int64_t number = 0;
    for (const char letter : name.substr(Prefix.size()))
    {
        if (letter < 'a' || letter > 'z')
            return std::nullopt;
        number = number * 26 + (letter - 'a' + 1);
        if (number - 1 > Highest)
            return std::nullopt;
    }
    return static_cast<DWORD>(number - 1);
}

} // namespace Platform
