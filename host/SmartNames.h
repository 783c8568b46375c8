// What SMART attributes are called. Vendors differ in places; these are the names that most use.
#pragma once

#include "vocabulary/Names.h"

#include <cstdint>
#include <string>

namespace Host
{

/// "Reallocated sectors"; empty for an attribute that has no common name.
std::string SmartName(std::uint8_t id);

/// The names of all that have one.
const Vocabulary::NameMap& SmartNames();

/// What has happened when the attribute has reached its threshold: "spare sectors used up".
std::string SmartFailure(std::uint8_t id);

} // namespace Host
