// Number to name, for each of the vocabularies.
//
// The maps are built before main (or before a loaded library's entry points can be called) and
// live until the program ends. Where a number has several rows the first row's name holds.
#pragma once

#include <map>
#include <string>

namespace Vocabulary
{

using NameMap = std::map<int, std::string>;

const NameMap& errorNames();
const NameMap& operationNames();
const NameMap& propertyNames();
const NameMap& valueNames();
const NameMap& eventNames();
const NameMap& objectTypeNames();
const NameMap& unitNames();

} // namespace Vocabulary

/// Name of a value number. A number that no row has is entered with an empty name, which the
/// reference then stays good for. Safe from any thread; who walks through valueNames() meanwhile is
/// not.
const std::string& valueName(int number);
