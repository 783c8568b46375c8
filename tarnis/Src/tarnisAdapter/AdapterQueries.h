// What the host can ask of an adapter. All run under the data lock and cannot fail.
#pragma once

#include "contracts/zelPlug.h"
#include "tarnis/Src/tarnisAdapter/Adapter.h"

#include <vector>

namespace NAMESPACE_tarnis
{

/// Replaces the content of `properties` by those that the filter asks for; UNDEFINED asks for all.
PI::_ERROR_CODE GetAdapterProperties(const CAHCIAdapter& adapter,
                                     std::vector<PI::CProperty>& properties,
                                     PI::_PROPERTY_ID filter);

/// An adapter offers no operation.
PI::_ERROR_CODE GetAdapterOperations(const CAHCIAdapter& adapter,
                                     std::vector<PI::COperation>& operations);

/// Accepts every operation, and executing one does nothing.
PI::_ERROR_CODE CheckAdapterOperation(const CAHCIAdapter& adapter, const PI::COperation& operation);
PI::_ERROR_CODE ExecuteAdapterOperation(const CAHCIAdapter& adapter,
                                        const PI::COperation& operation);

} // namespace NAMESPACE_tarnis
