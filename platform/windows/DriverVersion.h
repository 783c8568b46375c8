// The version of a driver, by the file that Windows has loaded it from.
#pragma once

#include <string>

namespace Platform
{

/// Where a driver's file lies, by what the registry tells.
/// @param imagePath      of the service: absolute, below the folder of Windows, or empty
/// @param windowsFolder  such as "C:\Windows"
std::wstring DriverFile(const std::wstring& imagePath, const std::wstring& windowsFolder,
                        const std::wstring& service);

/// @param service  its name, in UTF-8, in any letter case
/// @return false when there is no such service, or its file has no version
bool ReadDriverVersion(const std::string& service, std::string& version);

} // namespace Platform
