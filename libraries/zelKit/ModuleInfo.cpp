#include "contracts/zelKit/ModuleInfo.h"

#include "contracts/zelKit/Environment.h"
#include "libraries/zelKit/Output.h"

#include <charconv>
#include <string_view>

namespace ZKT::Misc
{
namespace
{

bool ParseMask(std::string_view text, std::uint32_t& mask)
{
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X"))
    {
        base = 16;
        text.remove_prefix(2);
    }
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, mask, base);
    return error == std::errc() && rest == end;
}

std::uint32_t TraceMaskFromEnvironment()
{
    const std::string text = GetVariable("TARNIS_TRACE_MASK");
    if (text.empty())
        return 0;
    std::uint32_t mask = 0;
    if (ParseMask(text, mask))
        return mask;
    Internals::Complain("TARNIS_TRACE_MASK holds no number of 32 bits, decimal or 0x: \"" + text +
                        "\"; nothing is traced");
    return 0;
}

} // namespace

CModuleInfo::CModuleInfo(std::uint32_t moduleNumber, const char* name, const char* version,
                         Language_Support::CLanguageSupport::CLngFile& messages,
                         const Language_Support::CLanguageSupport::ERROR_MSG_LIST& errors)
    : m_ModuleNumber(moduleNumber), m_Name(name), m_Version(version),
      m_TraceMask(TraceMaskFromEnvironment()), m_Stamp(moduleNumber << 16 | 1),
      m_Messages(&messages), m_Errors(&errors)
{
}

CModuleInfo::~CModuleInfo() = default;

} // namespace ZKT::Misc
