// Finding one's way in the objects that a plug-in tells.
#pragma once

#include "contracts/zelPlug.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

using Objects = std::vector<PI::CObject>;

const PI::CProperty* FindProperty(const PI::CObject& object, PI::_PROPERTY_ID id);

/// Number of a choice property, such as STATUS.
std::optional<int> ChoiceOf(const PI::CObject& object, PI::_PROPERTY_ID id);

/// "plugin", "adapter", "disk3": the word by which a person names the object.
std::string WordOf(const PI::CObject& object);

/// The objects as people look for them: drives behind all others and by their disk number, children
/// in the same order. A plug-in tells its drives controller by controller.
Objects InOrderOfDisks(Objects objects);

/// The id as it is written everywhere: "0x0131000000000002".
std::string IdText(std::uint64_t id);

} // namespace Host
