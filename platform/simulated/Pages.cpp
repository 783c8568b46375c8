#include "platform/simulated/Pages.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

namespace Platform
{

namespace
{

constexpr std::size_t LongestPath = 4096;
constexpr std::size_t AttributesPerPage = 30;
constexpr std::size_t AttributeBytes = 12;
constexpr std::uint64_t HighestRaw = (std::uint64_t{1} << 48) - 1;

/// Stores the low bytes of a value, lowest first.
void PutBytes(Sector& page, std::size_t offset, std::uint64_t value, std::size_t count)
{
    for (std::size_t position = 0; position < count; ++position)
        page[offset + position] = static_cast<std::uint8_t>(value >> (8 * position));
}

void PutWord(Sector& page, std::size_t word, std::uint64_t value)
{
    PutBytes(page, 2 * word, value, 2);
}

/// A text over whole words, padded with blanks. ATA has the first character of a word in its high
/// byte; some drives have it in the low one.
void PutText(Sector& page, const JsonValue& identify, const char* name, std::size_t firstWord,
             std::size_t length, bool lowByteFirst)
{
    std::string text;
    if (identify.Has(name))
        text = identify.Member(name).Text(length);
    text.resize(length, ' ');
    for (std::size_t position = 0; position < length; ++position)
        page[2 * firstWord + (lowByteFirst ? position : position ^ 1)] =
            static_cast<std::uint8_t>(text[position]);
}

std::uint64_t RawValue(const JsonValue& raw)
{
    if (!raw.IsList())
        return raw.Number(0, HighestRaw);
    if (raw.Count() != 6)
        raw.Fail("expected 6 bytes, found " + std::to_string(raw.Count()),
                 "list the raw bytes, lowest first");
    std::uint64_t value = 0;
    raw.EachItem([&](std::size_t position, const JsonValue& byte)
                 { value |= byte.Number(0, 255) << (8 * position); });
    return value;
}

} // namespace

PageFiles::PageFiles(std::string folder, std::vector<WatchedFile>& files)
    : m_Folder(std::move(folder)), m_Files(files)
{
}

const Sector& PageFiles::Read(const JsonValue& name)
{
    const std::string file = name.Name(LongestPath);
    const auto known = m_Pages.find(file);
    if (known != m_Pages.end())
        return known->second;

    const std::string path = PathFrom(m_Folder, file);
    WatchedFile& watched = m_Files.emplace_back(WatchedFile{path, {}, false});
    std::string content;
    std::string wrong = ReadWholeFile(watched, 1024 * 1024, content);
    if (wrong.empty() && content.size() != SectorBytes)
        wrong = "has " + std::to_string(content.size()) + " bytes";
    if (!wrong.empty())
        name.Fail("the page file \"" + Printable(path, 160) + "\" " + wrong,
                  "name a file of exactly 512 bytes");
    Sector& page = m_Pages[file];
    std::memcpy(page.data(), content.data(), page.size());
    return page;
}

Sector BuildIdentifyPage(const JsonValue& identify, std::optional<std::uint64_t> bytes)
{
    identify.DemandObject({"model", "serial", "firmware", "rotation", "fixed", "swapped"});
    Sector page = {};
    const bool isFixed = !identify.Has("fixed") || identify.Member("fixed").Flag();
    PutWord(page, 0, isFixed ? 0x0040 : 0x0080);

    const bool isSwapped = identify.Has("swapped") && identify.Member("swapped").Flag();
    PutText(page, identify, "serial", 10, 20, isSwapped);
    PutText(page, identify, "firmware", 23, 8, isSwapped);
    PutText(page, identify, "model", 27, 40, isSwapped);

    // LBA and DMA; SMART and 48-bit addresses supported and enabled.
    PutWord(page, 49, 0x0300);
    for (const auto& [word, value] : {std::pair{82, 0x0001},
                                      {83, 0x4400},
                                      {84, 0x4000},
                                      {85, 0x0001},
                                      {86, 0x0400},
                                      {87, 0x4000}})
        PutWord(page, static_cast<std::size_t>(word), static_cast<std::uint64_t>(value));

    const std::uint64_t sectors = bytes.value_or(0) / SectorBytes;
    PutBytes(page, 2 * 60, std::min<std::uint64_t>(sectors, 0x0FFFFFFF), 4);
    PutBytes(page, 2 * 100, std::min(sectors, HighestRaw), 8);
    if (identify.Has("rotation"))
        PutWord(page, 217, identify.Member("rotation").Number(0, 0xFFFF));
    return page;
}

Sector BuildSmartPage(const JsonValue& smart)
{
    smart.DemandObject({"attributes"});
    Sector page = {};
    PutWord(page, 0, 16); // revision of the table that most drives tell
    const JsonValue attributes = smart.Member("attributes");
    attributes.EachItem(
        [&](std::size_t position, const JsonValue& attribute)
        {
            if (position == AttributesPerPage)
                attribute.Fail("a page holds no more than 30 attributes", "leave some out");
            attribute.DemandObject({"id", "flags", "value", "worst", "raw"});
            const auto number = [&](const char* name, std::uint64_t highest, std::uint64_t absent)
            { return attribute.Has(name) ? attribute.Member(name).Number(0, highest) : absent; };
            const std::size_t entry = 2 + position * AttributeBytes;
            const std::uint64_t value = number("value", 255, 100);
            PutBytes(page, entry, attribute.Member("id").Number(1, 255), 1);
            PutBytes(page, entry + 1, number("flags", 0xFFFF, 0), 2);
            PutBytes(page, entry + 3, value, 1);
            PutBytes(page, entry + 4, number("worst", 255, value), 1);
            if (attribute.Has("raw"))
                PutBytes(page, entry + 5, RawValue(attribute.Member("raw")), 6);
        });
    // The checksum makes the sum of all bytes 0.
    const unsigned sum = std::accumulate(page.begin(), page.end() - 1, 0u);
    page.back() = static_cast<std::uint8_t>(0u - sum);
    return page;
}

} // namespace Platform
