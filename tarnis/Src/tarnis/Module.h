// What the library has before any instance exists.
#pragma once

#include "contracts/zelKit.h"

#include <cstdint>

namespace NAMESPACE_tarnis
{

/// Number of this plug-in among the modules of the family; top 16 bits of every object id.
inline constexpr std::uint32_t ModuleNumber = 305;

extern ZKT::Language_Support::CLanguageSupport::CLngFile g_LngFile;
extern ZKT::Misc::CModuleInfo g_ModuleInfo;

} // namespace NAMESPACE_tarnis
