// Numbers and names of the vocabulary as a person types them.
#pragma once

#include "vocabulary/Names.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Host
{

/// Bits of a view mask, of those that a property of this plug-in is shown by. What the views look
/// like is up to the host manager.
enum View : std::int32_t
{
    VIEW_NONE = 0,
    VIEW_BIT_0 = 1,
    VIEW_BIT_2 = 4,
    VIEW_BIT_3 = 8,
    VIEW_ALL = -1, ///< all 32 bits
};

const Vocabulary::NameMap& ViewNames();

struct NameTable
{
    const char* name;   ///< as it is called in output
    const char* prefix; ///< that a name of this table may be written with; parameters have another
    const Vocabulary::NameMap& (*rows)();
};

const std::array<NameTable, 9>& NameTables();

/// Decimal or 0x, all of the text.
std::optional<std::uint64_t> ParseNumber(std::string_view text);

/// Capital letters without what separates words ("_", "-" and blanks): equal for all spellings of a
/// name, such as POWERON_HOURS, "Power-on hours" and power_on_hours.
std::string NormalName(std::string_view text);

/// Whether a name in its normal form is the row's, with or without the prefix that programs write.
bool IsNameOf(const NameTable& table, int number, const std::string& rowName,
              const std::string& normal);

/// Number of a property by its name in normal form. Where a name stands for two numbers, the
/// property's is meant and not the one of the command language's parameter.
std::optional<int> PropertyNumber(const std::string& name);

/// All names of a table.
std::vector<std::string> NamesOf(const Vocabulary::NameMap& rows);

/// A few of the names that are close to what was typed, the closest first.
std::vector<std::string> SimilarNames(std::string_view typed,
                                      const std::vector<std::string>& names);

/// "; did you mean A, B or C?", empty without names.
std::string DidYouMean(const std::vector<std::string>& names);

/// "NO_SUPPORTED_HARDWARE (20001)"
std::string CodeText(std::int32_t code);

/// Name of a number, or the number itself.
std::string NameOrNumber(const Vocabulary::NameMap& rows, int number);

} // namespace Host
