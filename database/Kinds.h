// The five kinds of field. Each has a type, an unset value and a code.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace RaidDataModels
{

/// The unset value of a text field, and what a NULL cell reads as.
inline constexpr const char* unsetText = "NULL";

/// Code of a kind in a column descriptor.
enum class KindCode : int
{
    Text = 0,
    List = 1,
    Int = 2,
    Unsigned = 3,
    Real = 4,
};

namespace Kinds
{

struct Text
{
    using Type = std::string;
    static constexpr KindCode code = KindCode::Text;
    static Type Unset() { return unsetText; }
};

struct List
{
    using Type = std::vector<std::string>;
    static constexpr KindCode code = KindCode::List;
    static Type Unset() { return {}; }
};

struct Int
{
    using Type = std::int32_t;
    static constexpr KindCode code = KindCode::Int;
    static constexpr Type Unset() { return std::numeric_limits<Type>::min(); }
};

/// An int whose member starts at -1 in place of the unset value.
struct MinusOne
{
    using Type = std::int32_t;
    static constexpr KindCode code = KindCode::Int;
    static constexpr Type Unset() { return -1; }
};

struct Unsigned
{
    using Type = std::uint64_t;
    static constexpr KindCode code = KindCode::Unsigned;
    static constexpr Type Unset() { return std::numeric_limits<Type>::max(); }
};

struct Real
{
    using Type = double;
    static constexpr KindCode code = KindCode::Real;
    static constexpr Type Unset() { return 0x1p-126; }
};

} // namespace Kinds
} // namespace RaidDataModels
