#include "tarnis/Src/tarnisPlugin/IdentifyPage.h"

#include "contracts/zelPlug.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <cctype>

namespace NAMESPACE_tarnis
{
namespace
{

struct WordRange
{
    std::size_t first;
    std::size_t last;
};

constexpr WordRange SerialNumberWords{10, 19};
constexpr WordRange FirmwareWords{23, 26};
constexpr WordRange ModelWords{27, 46};
constexpr std::size_t LongestText = 2 * (46 - 27 + 1) + 1;

constexpr std::uint32_t FixedDeviceBit = 1U << 6;
constexpr std::size_t RotationRateWord = 217;
constexpr std::uint32_t NonRotating = 1;

std::string TextOf(const IdentifyData& words, WordRange range, bool swap)
{
    char text[LongestText];
    return boost::algorithm::trim_copy(
        std::string(GetIdentifyString(words, range.first, range.last, swap, text)));
}

void DecodeModel(const IdentifyData& words, bool swap, DriveIdentity& identity)
{
    char model[LongestText];
    GetIdentifyString(words, ModelWords.first, ModelWords.last, swap, model);
    PI::CPluginHelper::SplitSATAModelName(model, identity.vendor, identity.product);
    boost::algorithm::trim(identity.vendor);
    boost::algorithm::trim(identity.product);
}

void CorrectVendor(DriveIdentity& identity)
{
    if (identity.vendor.find("M.2") != std::string::npos &&
        identity.product.find("(S42)") != std::string::npos)
        identity.vendor = "INNODISK";
    else if (const PI::CSATALifeTimeData* known =
                 PI::CPluginHelper::findLifeTimeProp(identity.product))
        identity.vendor = known->m_Vendor;
}

} // namespace

char* GetIdentifyString(const IdentifyData& words, std::size_t first, std::size_t last, bool swap,
                        char* out)
{
    char* end = out;
    for (std::size_t word = first; word <= last; ++word)
    {
        const char low = static_cast<char>(words[word] & 0xFF);
        const char high = static_cast<char>(words[word] >> 8 & 0xFF);
        *end++ = swap ? high : low;
        *end++ = swap ? low : high;
    }
    *end = '\0';
    while (--end > out && std::isspace(static_cast<unsigned char>(*end)))
        *end = '\0';
    return out;
}

bool IsFixedDevice(const IdentifyData& words)
{
    return (words[0] & FixedDeviceBit) != 0;
}

DriveIdentity DecodeIdentity(const IdentifyData& words)
{
    DriveIdentity identity;
    bool swapBytes = true;
    DecodeModel(words, swapBytes, identity);
    if (boost::algorithm::iequals(identity.vendor, "NIET")) // "INTEL", its pairs changed round
    {
        swapBytes = false;
        DecodeModel(words, swapBytes, identity);
    }
    else
        CorrectVendor(identity);
    identity.serialNumber = TextOf(words, SerialNumberWords, swapBytes);
    identity.firmwareVersion = TextOf(words, FirmwareWords, swapBytes);
    return identity;
}

PI::_VALUE_ID MediaTypeOf(const IdentifyData& words, const DriveIdentity& identity)
{
    const bool ssd = words[RotationRateWord] == NonRotating ||
                     (boost::algorithm::iequals(identity.vendor, "INTEL") &&
                      boost::algorithm::istarts_with(identity.product, "SSD"));
    return ssd ? PI::VAL_SSD : PI::VAL_HDD;
}

} // namespace NAMESPACE_tarnis
