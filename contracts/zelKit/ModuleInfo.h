#pragma once

#include "contracts/Export.h"
#include "contracts/zelKit/Language.h"

#include <cstdint>
#include <string>

namespace ZKT::Misc
{

/// What the toolkit knows of a module that uses it. Built once, when the module is loaded, and
/// constant from then on.
class ZELKIT_API CModuleInfo
{
  public:
    /// Takes the trace mask from TARNIS_TRACE_MASK (decimal or 0x; 0 when it is missing or no
    /// number, with a line on standard error in the second case). The messages and the errors are
    /// the module's own and outlive this.
    CModuleInfo(std::uint32_t moduleNumber, const char* name, const char* version,
                Language_Support::CLanguageSupport::CLngFile& messages,
                const Language_Support::CLanguageSupport::ERROR_MSG_LIST& errors);
    ~CModuleInfo();

    std::uint32_t GetModuleNumber() const { return m_ModuleNumber; }
    const std::string& GetName() const { return m_Name; }
    const std::string& GetVersion() const { return m_Version; }
    /// Trace lines are written for the bits set here. Tested before anything is formatted.
    std::uint32_t GetTraceMask() const { return m_TraceMask; }
    /// Stamp of interface objects: the module number in the high half, 1 in the low half.
    std::uint32_t GetStamp() const { return m_Stamp; }
    const Language_Support::CLanguageSupport::CLngFile& GetMessages() const { return *m_Messages; }
    const Language_Support::CLanguageSupport::ERROR_MSG_LIST& GetErrors() const
    {
        return *m_Errors;
    }

  private:
    std::uint32_t m_ModuleNumber;
    std::string m_Name;
    std::string m_Version;
    std::uint32_t m_TraceMask;
    std::uint32_t m_Stamp;
    const Language_Support::CLanguageSupport::CLngFile* m_Messages;
    const Language_Support::CLanguageSupport::ERROR_MSG_LIST* m_Errors;
};

} // namespace ZKT::Misc
