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

struct NameTable
{
    const char* name;   ///< as it is called in output
    const char* prefix; ///< that a name of this table may be written with; parameters have another
    const Vocabulary::NameMap& (*rows)();
};

const std::array<NameTable, 5>& NameTables();

/// Decimal or 0x, all of the text.
std::optional<std::uint64_t> ParseNumber(std::string_view text);

/// Capital letters, and "_" for what separates words: the way names stand in the vocabulary.
std::string NormalName(std::string_view text);

/// Whether a name in its normal form is the row's, with or without the prefix that programs write.
bool IsNameOf(const NameTable& table, int number, const std::string& rowName,
              const std::string& normal);

/// Number of a property by its name in normal form. Where a name stands for two numbers, the
/// property's is meant and not the one of the command language's parameter.
std::optional<int> PropertyNumber(const std::string& name);

/// A few names of the table that are close to one in normal form, the closest first.
std::vector<std::string> SimilarNames(const std::string& name, const Vocabulary::NameMap& rows);

/// "; did you mean A, B or C?", empty without names.
std::string DidYouMean(const std::vector<std::string>& names);

/// "NO_SUPPORTED_HARDWARE (20001)"
std::string CodeText(std::int32_t code);

/// Name of a number, or the number itself.
std::string NameOrNumber(const Vocabulary::NameMap& rows, int number);

} // namespace Host
