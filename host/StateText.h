// What a state file holds, and its text. The JSON is read by events, not into nlohmann::json: its
// destructor allocates, and ends the program when there is no memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace Host
{

using StateTexts = std::vector<std::string>;
using StateNumbers = std::map<std::string, std::uint64_t>;
using StateValue =
    std::variant<std::nullptr_t, bool, std::uint64_t, std::string, StateTexts, StateNumbers>;
/// Values by name.
using StateEntry = std::map<std::string, StateValue>;

struct State
{
    StateEntry facts; ///< about the whole
    std::vector<StateEntry> drives;
};

/// @throws std::invalid_argument when the entry has none, or one of another type
template <class Value> const Value& ValueOf(const StateEntry& entry, const std::string& name)
{
    const auto found = entry.find(name);
    const Value* const value = found != entry.end() ? std::get_if<Value>(&found->second) : nullptr;
    if (value == nullptr)
        throw std::invalid_argument(name);
    return *value;
}

/// In ASCII. What is not UTF-8 becomes U+FFFD.
std::string StateText(const State& state);

struct ParsedState
{
    State state;
    bool isWhole = true; ///< false: drives are missing, or there is something that no State holds
};

/// @return nothing when it is no JSON
std::optional<ParsedState> ParseState(const std::string& text);

} // namespace Host
