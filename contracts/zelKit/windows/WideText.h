// Between UTF-8 and the texts of Windows. What is not well formed becomes U+FFFD.
#pragma once

#include "contracts/Export.h"

#include <string>
#include <string_view>

namespace ZKT::Misc
{

ZELKIT_API std::wstring ToWide(std::string_view utf8);
ZELKIT_API std::string FromWide(std::wstring_view wide);

} // namespace ZKT::Misc
