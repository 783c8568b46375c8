#pragma once

#include "contracts/Export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ZKT::Language_Support::CLanguageSupport
{

/// Head of a module's list of error messages: the module's error number and seven words that this
/// toolkit does not read.
struct ERROR_MSG_LIST
{
    std::uint32_t m_ErrorNumber;
    std::uint32_t m_Words[7];
};
static_assert(sizeof(ERROR_MSG_LIST) == 32);

/// Message texts of a module in one language. The built-in texts serve; a translated file may stand
/// beside the library, but no format for it is settled, so that none is read.
class ZELKIT_API CLngFile
{
  public:
    /// @param language  two letters packed into 16 bits, 0x656E for "en"
    /// @param number    carried for the toolkit
    CLngFile(const char* fileName, std::uint32_t language, const char* encoding,
             std::uint32_t number, const char* const* messages, std::uint32_t count);
    ~CLngFile();

    const std::string& GetFileName() const { return m_FileName; }
    std::uint32_t GetLanguage() const { return m_Language; }
    const std::string& GetEncoding() const { return m_Encoding; }
    std::uint32_t GetNumber() const { return m_Number; }
    /// The built-in text at a position from 0; empty when there is none.
    const std::string& GetMessageText(std::uint32_t position) const;

  private:
    std::string m_FileName;
    std::uint32_t m_Language;
    std::string m_Encoding;
    std::uint32_t m_Number;
    std::vector<std::string> m_Messages;
};

} // namespace ZKT::Language_Support::CLanguageSupport
