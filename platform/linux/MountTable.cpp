#include "platform/linux/MountTable.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Platform
{

namespace
{

constexpr std::string_view DeviceFolder = "/dev/";

/// Both files write blanks, tabs, line ends and backslashes as three octal digits.
std::string Unescape(std::string_view text)
{
    std::string plain;
    const auto isOctal = [](char digit) { return digit >= '0' && digit <= '7'; };
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        if (text[at] == '\\' && at + 3 < text.size() && isOctal(text[at + 1]) &&
            isOctal(text[at + 2]) && isOctal(text[at + 3]))
        {
            plain += static_cast<char>((text[at + 1] - '0') * 64 + (text[at + 2] - '0') * 8 +
                                       (text[at + 3] - '0'));
            at += 3;
        }
        else
            plain += text[at];
    }
    return plain;
}

/// The name of a device file directly in /dev, else empty.
std::string NameOfDeviceFile(std::string_view path)
{
    return path.starts_with(DeviceFolder) ? Unescape(path.substr(DeviceFolder.size())) : "";
}

/// Hands each line to the reader as its words.
template <class Reader> void ForEachLine(std::string_view text, Reader reader)
{
    std::vector<std::string_view> words;
    while (!text.empty())
    {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        words.clear();
        boost::split(words, line, boost::is_any_of(" \t"), boost::token_compress_on);
        reader(words);
    }
}

} // namespace

MountTable::MountTable(std::string_view mountInfo, std::string_view swaps)
{
    ForEachLine(mountInfo,
                [this](const std::vector<std::string_view>& words)
                {
                    // id, parent, device, root, target, options, any number of words, "-", kind,
                    // source, options of the file system
                    const auto dash = std::find(words.begin(), words.end(), "-");
                    if (dash - words.begin() < 6 || words.end() - dash < 3)
                        return;
                    // Anybody may mount something of his own under any name of a device.
                    const bool isNamed = *(dash + 1) == "btrfs" && words[2].starts_with("0:");
                    Mount& mount = isNamed ? m_ByName[NameOfDeviceFile(*(dash + 2))]
                                           : m_ByDevice[std::string(words[2])];
                    const bool isOfRoot = words[3] == "/";
                    if (mount.target.empty() || (isOfRoot && !mount.isOfRoot))
                        mount = {Unescape(words[4]), isOfRoot};
                });
    ForEachLine(swaps, [this](const std::vector<std::string_view>& words)
                { m_Swaps.insert(NameOfDeviceFile(words.front())); });
}

std::string MountTable::TargetOf(const std::string& device, const std::string& name) const
{
    if (const auto mount = m_ByDevice.find(device); mount != m_ByDevice.end())
        return mount->second.target;
    if (const auto mount = m_ByName.find(name); mount != m_ByName.end())
        return mount->second.target;
    return m_Swaps.contains(name) ? "[SWAP]" : "";
}

} // namespace Platform
