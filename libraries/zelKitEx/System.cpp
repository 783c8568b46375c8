#include "contracts/zelKitEx/System.h"

#include "platform/Machine.h"

namespace ZKTX
{

bool CSystem::GetModuleVersion(const std::string& serviceName, std::string& version)
{
    version.clear();
    if (Platform::CurrentMachine().ModuleVersion(serviceName, version))
        return true;
    version.clear();
    return false;
}

bool CSystem::OpenMachine(std::string& message)
{
    message.clear();
    return Platform::OpenCurrentMachine(message);
}

bool CSystem::IsRightMissing(std::string& message)
{
    message = Platform::CurrentMachine().MissingRight();
    return !message.empty();
}

} // namespace ZKTX
