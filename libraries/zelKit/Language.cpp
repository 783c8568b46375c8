#include "contracts/zelKit/Language.h"

namespace ZKT::Language_Support
{
namespace
{

const char* TextOf(const char* text)
{
    return text != nullptr ? text : "";
}

const std::string noText;

} // namespace

CLanguageSupport::CLngFile::CLngFile(const char* fileName, std::uint32_t language,
                                     const char* encoding, std::uint32_t number,
                                     const char* const* messages, std::uint32_t count)
    : m_FileName(TextOf(fileName)), m_Language(language), m_Encoding(TextOf(encoding)),
      m_Number(number)
{
    if (messages == nullptr)
        return;
    m_Messages.reserve(count);
    for (std::uint32_t position = 0; position < count; ++position)
        m_Messages.emplace_back(TextOf(messages[position]));
}

CLanguageSupport::CLngFile::~CLngFile() = default;

const std::string& CLanguageSupport::CLngFile::GetMessageText(std::uint32_t position) const
{
    return position < m_Messages.size() ? m_Messages[position] : noText;
}

} // namespace ZKT::Language_Support
