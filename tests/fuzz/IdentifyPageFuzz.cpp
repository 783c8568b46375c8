// Any 512 bytes as an IDENTIFY page. What is missing of the page is 0.
#include "contracts/zelPlug.h"
#include "tarnis/Src/tarnisPlugin/IdentifyPage.h"
#include "tests/fuzz/Require.h"

#include <algorithm>
#include <vector>

namespace
{

using namespace NAMESPACE_tarnis;

constexpr const char* Blanks = " \t\n\v\f\r";
constexpr const char* VendorsOfTables = "ABCDEFGHIJKLMNOPQRSTUVWXYZ ";

/// The bytes of some words up to the first NUL.
std::string BytesOf(const IdentifyData& words, std::size_t first, std::size_t last, bool swap)
{
    std::string bytes;
    for (std::size_t word = first; word <= last; ++word)
        for (const unsigned shift : {swap ? 8U : 0U, swap ? 0U : 8U})
            bytes += static_cast<char>(words[word] >> shift & 0xFF);
    return bytes.substr(0, bytes.find('\0'));
}

std::string Trimmed(const std::string& text)
{
    const std::size_t begin = std::min(text.find_first_not_of(Blanks), text.size());
    return text.substr(begin, text.find_last_not_of(Blanks) + 1 - begin);
}

void CheckIdentity(const IdentifyData& words)
{
    const DriveIdentity identity = DecodeIdentity(words);
    const auto holds = [&](bool swap)
    {
        const std::string model = BytesOf(words, 27, 46, swap);
        return model.find(identity.product) != model.npos &&
               (model.find(identity.vendor) != model.npos ||
                identity.vendor.find_first_not_of(VendorsOfTables) == model.npos) &&
               identity.serialNumber == Trimmed(BytesOf(words, 10, 19, swap)) &&
               identity.firmwareVersion == Trimmed(BytesOf(words, 23, 26, swap));
    };
    Require(holds(true) || holds(false), "all texts are the page's, in one order of bytes");
    for (const std::string& text : {identity.vendor, identity.product})
        Require(text == Trimmed(text), "vendor and product are trimmed");
    const PI::_VALUE_ID media = MediaTypeOf(words, identity);
    Require(media == PI::VAL_SSD || (media == PI::VAL_HDD && words[217] != 1), "medium");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    IdentifyData words{};
    for (std::size_t i = 0; i < std::min<std::size_t>(size, 512); ++i)
        words[i / 2] |= std::uint32_t{data[i]} << 8 * (i % 2);

    CheckIdentity(words);
    Require(IsFixedDevice(words) == (size > 0 && (data[0] & 0x40) != 0), "fixed device");

    // A range that the page itself names: white space alone gets lost, at the end alone, and never
    // the first character.
    const std::size_t first = words[1] & 0xFF;
    const std::size_t last = std::max<std::size_t>(first, words[1] >> 8);
    const bool swap = (words[2] & 1) != 0;
    const std::string bytes = BytesOf(words, first, last, swap);
    std::vector<char> room(2 * (last - first + 1) + 1); // exactly what it asks for
    const std::string text = GetIdentifyString(words, first, last, swap, room.data());
    Require(bytes.starts_with(text) && Trimmed(bytes.substr(text.size())).empty() &&
                text.empty() == bytes.empty(),
            "text of a range");
    return 0;
}
