// Counts of a hard disk that must not rise.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

/// Raw values of its SMART page; nothing when it does not tell them.
struct ErrorCounts
{
    std::optional<std::uint64_t> pendingSectors;      ///< attribute 197
    std::optional<std::uint64_t> uncorrectableErrors; ///< attribute 187, reported to a host

    /// Keeps what an earlier page told where this one tells nothing.
    void FillFrom(const ErrorCounts& earlier);
};

/// "pending sectors (attribute 197) from 3 to 12": those that both tell and that rose.
std::vector<std::string> RisenErrors(const ErrorCounts& before, const ErrorCounts& now);

} // namespace Host
