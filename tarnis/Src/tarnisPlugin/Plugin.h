#pragma once

#include "contracts/zelPlug.h"

namespace NAMESPACE_tarnis
{

/// The object that stands for the plug-in itself, root of the tree.
class CAHCIPlugin : public PI::CObject
{
};

} // namespace NAMESPACE_tarnis
