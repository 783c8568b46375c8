#include "host/ErrorCounts.h"

namespace Host
{

void ErrorCounts::FillFrom(const ErrorCounts& earlier)
{
    if (!pendingSectors)
        pendingSectors = earlier.pendingSectors;
    if (!uncorrectableErrors)
        uncorrectableErrors = earlier.uncorrectableErrors;
}

std::vector<std::string> RisenErrors(const ErrorCounts& before, const ErrorCounts& now)
{
    std::vector<std::string> texts;
    const auto compare =
        [&](std::optional<std::uint64_t> old, std::optional<std::uint64_t> count, const char* what)
    {
        if (old && count && *count > *old)
            texts.push_back(std::string(what) + " from " + std::to_string(*old) + " to " +
                            std::to_string(*count));
    };
    compare(before.pendingSectors, now.pendingSectors, "pending sectors (attribute 197)");
    compare(before.uncorrectableErrors, now.uncorrectableErrors,
            "reported uncorrectable errors (attribute 187)");
    return texts;
}

} // namespace Host
