#pragma once

#include "contracts/zelPlug.h"

namespace NAMESPACE_tarnis
{

inline constexpr const char* PluginName = "AHCI-Plugin";
inline constexpr const char* PluginVersion = "7.8.1";
inline constexpr const char* PluginVendor = "Microsoft Corporation";

/// The object that stands for the plug-in itself, root of the tree.
class CAHCIPlugin : public PI::CObject
{
};

} // namespace NAMESPACE_tarnis
