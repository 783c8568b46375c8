// What the host can ask of a drive. All run under the data lock, touch no hardware and cannot fail.
#pragma once

#include "contracts/zelPlug.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrive.h"

#include <vector>

namespace NAMESPACE_tarnis
{

/// Replaces the content of `properties` by those that the filter asks for; UNDEFINED asks for all.
/// A value without a reading is marked by a view mask of 0; a temperature without one is left out.
PI::_ERROR_CODE GetPhysicalDriveProperties(const CAHCIPhysicalDrive& drive,
                                           std::vector<PI::CProperty>& properties,
                                           PI::_PROPERTY_ID filter);

/// A drive offers no operation.
PI::_ERROR_CODE GetPhysicalDriveOperations(const CAHCIPhysicalDrive& drive,
                                           std::vector<PI::COperation>& operations);

/// Refuses FORMAT_DEVICE on a drive in use with 20042 and accepts all else.
PI::_ERROR_CODE CheckPhysicalDriveOperation(const CAHCIPhysicalDrive& drive,
                                            const PI::COperation& operation);

/// Always 20005: no operation on a drive is carried out.
PI::_ERROR_CODE ExecutePhysicalDriveOperation(const CAHCIPhysicalDrive& drive,
                                              const PI::COperation& operation);

} // namespace NAMESPACE_tarnis
