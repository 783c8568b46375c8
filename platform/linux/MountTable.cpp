#include "platform/linux/MountTable.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>

#include <algorithm>
#include <cstddef>

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
                    m_Mounts.push_back({std::string(words[2]), NameOfDeviceFile(*(dash + 2)),
                                        Unescape(words[4]), words[3] == "/"});
                });
    ForEachLine(swaps,
                [this](const std::vector<std::string_view>& words)
                {
                    if (std::string name = NameOfDeviceFile(words.front()); !name.empty())
                        m_Swaps.push_back(std::move(name));
                });
}

std::string MountTable::TargetOf(std::string_view device, std::string_view name) const
{
    const auto isOfDevice = [&](const Mount& mount)
    { return mount.device == device || (mount.device.starts_with("0:") && mount.name == name); };
    auto found =
        std::find_if(m_Mounts.begin(), m_Mounts.end(),
                     [&](const Mount& mount) { return mount.isOfRoot && isOfDevice(mount); });
    if (found == m_Mounts.end())
        found = std::find_if(m_Mounts.begin(), m_Mounts.end(), isOfDevice);
    if (found != m_Mounts.end())
        return found->target;
    return std::find(m_Swaps.begin(), m_Swaps.end(), name) != m_Swaps.end() ? "[SWAP]" : "";
}

} // namespace Platform
