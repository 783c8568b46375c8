#include "tarnis/Src/tarnis/Module.h"

#include <iterator>

namespace NAMESPACE_tarnis
{
namespace
{

constexpr const char* g_LngMessages[] = {
    "General error in tarnis plugin",
    "No information available for this error",
};

// The digits 131 are the module number in hexadecimal.
constexpr ZKT::Language_Support::CLanguageSupport::ERROR_MSG_LIST g_ErrorMessages = {0x21310001,
                                                                                     {}};

// The letters e and n, e in the high byte.
constexpr std::uint32_t English = 0x656E;

} // namespace

ZKT::Language_Support::CLanguageSupport::CLngFile
    g_LngFile("tarnis.nls", English, "utf-8", 1, g_LngMessages, std::size(g_LngMessages));

ZKT::Misc::CModuleInfo g_ModuleInfo(ModuleNumber, "tarnis", "P:7.8.1 F:7.8.1", g_LngFile,
                                    g_ErrorMessages);

} // namespace NAMESPACE_tarnis
