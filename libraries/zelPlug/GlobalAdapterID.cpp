#include "contracts/zelPlug/GlobalAdapterID.h"

namespace PI
{
namespace
{

/// FNV-1a of 64 bits: fixed for good, unlike std::hash, since numbers are kept across starts.
class Hash
{
  public:
    void Add(std::uint8_t byte) { m_Value = (m_Value ^ byte) * 0x100000001B3; }
    std::uint64_t Value() const { return m_Value; }

  private:
    std::uint64_t m_Value = 0xCBF29CE484222325;
};

} // namespace

CGlobalAdapterID::CGlobalAdapterID(const std::string& hostName) : m_HostName(hostName) {}

void CGlobalAdapterID::GenerateUniqueAdapterNumber()
{
    Hash hash;
    for (const char character : m_HostName)
        hash.Add(static_cast<std::uint8_t>(character));
    for (int shift = 0; shift < 64; shift += 8)
        hash.Add(static_cast<std::uint8_t>(m_AdapterUniqueID >> shift));
    const std::uint64_t value = hash.Value();
    m_Number = static_cast<std::int32_t>((value ^ value >> 31 ^ value >> 62) & 0x7FFFFFFF);
}

} // namespace PI
