#pragma once

#include "contracts/Export.h"

#include <string>

namespace ZKTX
{

class ZELKITEX_API CSystem
{
  public:
    /// Version text of a driver, by its service name (letter case does not count).
    /// @return false, with an empty text, when the machine does not know it
    /// @throws std::bad_alloc without memory or descriptors to find it out
    static bool GetModuleVersion(const std::string& serviceName, std::string& version);

    /// Makes the machine ready that all further calls ask: the one of the file TARNIS_MACHINE, or
    /// the computer itself. Later calls give the first call's answer.
    /// @param message  what is wrong, where, and what to do: one line, empty when all is well
    /// @return false when the machine cannot be had. Whoever goes on all the same finds a machine
    ///         without devices.
    static bool OpenMachine(std::string& message);

    /// Tells which right kept disks from being opened or asked when that was last tried.
    /// @param message  which disks, what is missing, and what to do: one line, empty when none did
    /// @return true when a right is missing
    static bool IsRightMissing(std::string& message);
};

} // namespace ZKTX
